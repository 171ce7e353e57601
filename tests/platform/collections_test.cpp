// Arrays and lists of awkward elements.
#include <gtest/gtest.h>
#include <mersola/platform/collections.h>

#include <string>

namespace {

// Copied by construction only from variables, and counted, so that a lost one is seen.
struct Picky {
    static inline int alive = 0;
    static inline int assignmentsLeft = -1;

    Picky() { ++alive; }
    explicit Picky(std::string name) : text(std::move(name)) { ++alive; }
    Picky(Picky& other) : text(other.text) { ++alive; }
    Picky& operator=(const Picky& other) {
        if (assignmentsLeft >= 0 && assignmentsLeft-- == 0) {
            throw std::runtime_error("refused");
        }
        text = other.text;
        return *this;
    }
    virtual ~Picky() { --alive; }

    std::string text;
};

using Picked = CArray<Picky, Picky&>;

std::string Joined(const auto& collection) {
    std::string all;
    for (const Picky& item : collection) {
        all += item.text + ' ';
    }
    return all;
}

Picked Letters(std::string_view letters) {
    Picked made;
    for (const char letter : letters) {
        made.Add(Picky(std::string(1, letter)));
    }
    return made;
}

}  // namespace

TEST(Array, HoldsElementsThatCannotBeCopiedFromConstants) {
    {
        Picked array = Letters("abcdefghijklmnopqrstuvwxyz");
        Picky variable("!");
        const Picky constant("?");
        EXPECT_EQ(array.Add(variable), 26);
        EXPECT_EQ(array.Add(constant), 27);
        Picked copy = array;
        copy.SetAt(0, constant);
        copy.RemoveAt(1, 26);
        EXPECT_EQ(Joined(copy), "? ? ");
        array = copy;
        array.SetSize(3);
        EXPECT_EQ(Joined(array), "? ?  ");
    }
    EXPECT_EQ(Picky::alive, 0);
}

TEST(Array, SurvivesAnElementThatRefusesToBeAssigned) {
    {
        Picked array = Letters("ab");
        for (int left = 0; left < 3; ++left) {
            Picky::assignmentsLeft = left;
            EXPECT_THROW(array.InsertAt(1, Picky("x"), 8), std::runtime_error);
        }
        Picky::assignmentsLeft = -1;
    }
    EXPECT_EQ(Picky::alive, 0);
}

TEST(Array, TakesItsOwnElementsWhileItGrows) {
    Picked array = Letters("a");
    for (int i = 0; i < 40; ++i) {
        array.Add(array[0]);
        array.InsertAt(0, array[array.GetUpperBound()], 2);
        array.SetAtGrow(array.GetSize(), array[0]);
    }
    EXPECT_EQ(array.Append(array), 161);
    ASSERT_EQ(array.GetSize(), 322);
    for (const Picky& item : array) {
        EXPECT_EQ(item.text, "a");
    }
}

TEST(Array, RaisesForWhatLiesOutsideAndChangesNothing) {
    Picked array = Letters("abc");
    const Picky x("x");
    EXPECT_THROW(array[3], std::out_of_range);
    EXPECT_THROW(array[-1], std::out_of_range);
    EXPECT_THROW(array.InsertAt(0, x, -1), std::out_of_range);
    EXPECT_THROW(array.RemoveAt(2, 2), std::out_of_range);
    EXPECT_THROW(array.SetSize(-1), std::out_of_range);
    EXPECT_EQ(Joined(array), "a b c ");
    array.InsertAt(5, x);
    array.SetAtGrow(1, x);
    EXPECT_EQ(Joined(array), "a x c   x ");
}

TEST(List, WalksBothWaysAndRemovesAnywhere) {
    {
        CList<Picky, Picky&> list;
        Picky b("b");
        list.AddTail(b);
        list.AddTail(Picky("c"));
        list.AddHead(Picky("a"));
        list.AddTail(list.GetHead());
        EXPECT_EQ(Joined(list), "a b c a ");

        list.RemoveAt(list.FindIndex(1));
        list.RemoveAt(list.GetTailPosition());
        std::string back;
        for (POSITION place = list.GetTailPosition(); place;) {
            back += list.GetPrev(place).text;
        }
        EXPECT_EQ(back, "ca");

        CList<Picky, Picky&> copy = list;
        EXPECT_EQ(copy.RemoveTail().text, "c");
        EXPECT_EQ(copy.RemoveHead().text, "a");
        EXPECT_TRUE(copy.IsEmpty() && !copy.GetHeadPosition() && !copy.GetTailPosition());
        EXPECT_THROW(copy.RemoveTail(), std::out_of_range);
        copy.AddHead(b);
        list = copy;
        EXPECT_EQ(list.GetTail().text + Joined(copy), "bb ");
    }
    EXPECT_EQ(Picky::alive, 0);
}
