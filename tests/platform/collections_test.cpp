// Arrays and lists of awkward elements.
#include <gtest/gtest.h>
#include <mersola/platform/collections.h>

#include <string>

namespace {

// Copied by construction only from variables, and counted, so that a lost one is seen.
struct Picky {
    static inline int alive = 0;
    static inline int assignmentsLeft = -1;  // the one behind them is refused

    explicit Picky(std::string name = "") : text(std::move(name)) { ++alive; }
    Picky(Picky& other) : text(other.text) { ++alive; }
    ~Picky() { --alive; }
    Picky& operator=(const Picky& other) {
        if (assignmentsLeft-- == 0) throw std::runtime_error("refused");
        text = other.text;
        return *this;
    }

    std::string text;
};

std::string Joined(const auto& collection) {
    std::string all;
    for (const Picky& item : collection)
        all += item.text + ' ';
    return all;
}

CArray<Picky, Picky&> Letters(std::string_view letters) {
    CArray<Picky, Picky&> made;
    for (const char letter : letters)
        made.Add(Picky(std::string(1, letter)));
    return made;
}

struct Collections : testing::Test {
    ~Collections() override { EXPECT_EQ(Picky::alive, 0); }
};

}  // namespace

TEST_F(Collections, ArrayHoldsElementsThatRefuseConstantsOrAnAssignment) {
    auto array = Letters("abcdefghijklmnopqrstuvwxyz");
    const Picky constant("?");
    EXPECT_EQ(array.Add(constant), 26);
    auto copy = array;
    copy.SetAt(0, constant);
    copy.RemoveAt(1, 25);
    array = copy;
    array.SetSize(3);
    EXPECT_EQ(Joined(array), "? ?  ");
    Picky::assignmentsLeft = 2;
    EXPECT_THROW(array.InsertAt(1, constant, 8), std::runtime_error);
}

TEST_F(Collections, ArrayTakesItsOwnElementsWhileItGrows) {
    auto array = Letters("a");
    for (int i = 0; i < 40; ++i) {
        array.Add(array[0]);
        array.InsertAt(0, array[array.GetUpperBound()], 2);
        array.SetAtGrow(array.GetSize(), array[0]);
    }
    EXPECT_EQ(array.Append(array), 161);
    EXPECT_EQ(Joined(array), Joined(Letters(std::string(322, 'a'))));
}

TEST_F(Collections, ArrayRaisesForWhatLiesOutsideAndChangesNothing) {
    auto array = Letters("abc");
    const Picky x("x");
    EXPECT_THROW(array[3], std::out_of_range);
    EXPECT_THROW(array.InsertAt(0, x, -1), std::out_of_range);
    EXPECT_THROW(array.RemoveAt(2, 2), std::out_of_range);
    EXPECT_EQ(Joined(array), "a b c ");
    array.InsertAt(5, x);
    array.SetAtGrow(1, x);
    EXPECT_EQ(Joined(array), "a x c   x ");
}

TEST_F(Collections, ListWalksBothWaysAndRemovesAnywhere) {
    CList<Picky, Picky&> list;
    Picky b("b");
    list.AddTail(b);
    list.AddTail(Picky("c"));
    list.AddHead(Picky("a"));
    list.AddTail(list.GetHead());
    list.RemoveAt(list.FindIndex(1));
    list.RemoveAt(list.GetTailPosition());
    POSITION place = list.GetTailPosition();
    EXPECT_EQ(list.GetPrev(place).text, "c");
    EXPECT_EQ(list.GetPrev(place).text, "a");
    auto copy = list;
    EXPECT_EQ(copy.RemoveTail().text + copy.RemoveHead().text, "ca");
    EXPECT_TRUE(copy.IsEmpty() && !copy.GetHeadPosition() && !copy.GetTailPosition());
    EXPECT_THROW(copy.RemoveTail(), std::out_of_range);
    copy.AddHead(b);
    list = copy;
    EXPECT_EQ(list.GetTail().text + Joined(copy), "bb ");
}
