// List texts: whatever is written reads back, whatever is read does no harm.
#include <gtest/gtest.h>
#include <mersola/list_text.h>

#include <random>
#include <stdexcept>

using mersola::ListText;

namespace {

std::string Items(const ListText& list) {
    std::string all;
    for (const CString& item : list)
        all.append("[").append(item.View()).append("]");
    return all;
}

// Mostly the characters that mean something.
std::string RandomText(std::mt19937& random, int longest) {
    constexpr std::string_view kAlphabet = "a1 \t\n\x01,,=\"\"\\\\{{}}\xc3\xa4'";
    std::string text;
    for (auto length = random() % static_cast<unsigned>(longest + 1); length > 0; --length)
        text += kAlphabet[random() % kAlphabet.size()];
    return text;
}

ListText RandomList(std::mt19937& random, int depth) {
    ListText list;
    for (auto count = random() % 5; count > 0; --count) {
        if (depth > 0 && random() % 4 == 0)
            list.AddList(RandomList(random, depth - 1));
        else if (random() % 3 == 0)
            list.AddPair(RandomText(random, 4).c_str(), RandomText(random, 6).c_str());
        else
            list.Add(RandomText(random, 6).c_str());
    }
    return list;
}

}  // namespace

TEST(ListText, ReadsBackWhateverItWrote) {
    std::mt19937 random(3);
    for (int i = 0; i < 20'000; ++i) {
        const auto written = RandomList(random, 3);
        ASSERT_EQ(ListText(written.ToText()), written) << written.ToText();
    }
}

TEST(ListText, ReadsAnyTextTheSameASecondTimeOrLeavesItWhole) {
    std::mt19937 random(4);
    for (int i = 0; i < 100'000; ++i) {
        const CString text(RandomText(random, 12));
        ListText list("kept");
        if (list.Parse(text))
            ASSERT_EQ(ListText(list.ToText()), list) << text;
        else
            ASSERT_EQ(Items(list) + ListText(text)[0], "[kept]" + text);
    }
}

TEST(ListText, ReadsWhatPeopleWrite) {
    const char* plain = "10,-0.5,Pier 4,\xc3\xa4'";
    EXPECT_EQ(ListText(plain).ToText(), plain);
    EXPECT_EQ(Items(" station , b c "), "[station][b c]");
    EXPECT_EQ(Items("a,,\" b \",\\ c\\,\\\\,"), "[a][][ b ][ c,\\][]");
    EXPECT_EQ(Items("Laeq>=65,x = 5,a=b=c,a==b,=d,e\\=f"), "[Laeq>=65][5][b=c][a==b][=d][e=f]");
    EXPECT_EQ(Items("{ a, {b} } , c"), "[a,{b}][c]");
    EXPECT_TRUE(ListText(" \t").IsEmpty());
    EXPECT_EQ(ListText("").First() + ListText("x,y").First(), "x");
    EXPECT_THROW(ListText("x")[1], std::out_of_range);
}

TEST(ListText, FindsPairsOfTheOutermostListByKey) {
    const ListText list("level , {Level=\"in\"}, LEVEL = \"65\" ,level=\"70\",\" k\"=\"\",g={1,2}");
    CString value("kept");
    EXPECT_TRUE(list.Find("lEvel", value));
    EXPECT_FALSE(list.Find("k", value));
    EXPECT_EQ(value, "65");
    ASSERT_TRUE(list.Find("g", value));
    EXPECT_EQ(Items(value), "[1][2]");
    const ListText byHand("at = pier 4 ,Type=\\ t, none= ");
    EXPECT_TRUE(byHand.Find("at", value));
    EXPECT_EQ(value, "pier 4");
    EXPECT_TRUE(byHand.Find("type", value));
    EXPECT_EQ(value, " t");
    EXPECT_TRUE(byHand.Find("none", value) && value.IsEmpty());
    EXPECT_EQ(byHand.ToText(), "at=\"pier 4\",Type=\" t\",none=\"\"");
}

TEST(ListText, IsMalformedWithoutAPartnerOrTooDeep) {
    for (const char* bad : {"\"a", "a\"", "\"a\"b", "{a", "a}", "}", "{a}b", "a{b}", "a=\"", "a\\",
                            "\"a\"=b", "{a}=\"b\"", "a=\"b\"c", "a,{\"}"})
        EXPECT_FALSE(ListText().Parse(bad)) << bad;
    EXPECT_FALSE(ListText().Parse(std::string(1'000'000, '{').c_str()));
    ListText deep((std::string(100, '{') + std::string(100, '}')).c_str());
    EXPECT_THROW(deep.AddList(deep), std::length_error);
}
