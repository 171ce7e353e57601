// List texts as people write them; fuzz/list_text.cpp tells what holds of any.
#include <gtest/gtest.h>
#include <mersola/list_text.h>

#include <stdexcept>

using mersola::ListText;

namespace {

std::string Items(const ListText& list) {
    std::string all;
    for (const CString& item : list)
        all.append("[").append(item.View()).append("]");
    return all;
}

}  // namespace

TEST(ListText, ReadsWhatPeopleWrite) {
    const char* plain = "10,-0.5,Pier 4,\xc3\xa4'";
    EXPECT_EQ(ListText(plain).ToText(), plain);
    EXPECT_EQ(Items(" station , b c "), "[station][b c]");
    EXPECT_EQ(Items("a,,\" b \",\\ c\\,\\\\,"), "[a][][ b ][ c,\\][]");
    EXPECT_EQ(Items("Laeq>=65,x = 5,a=b=c,a==b,=d,e\\=f"), "[Laeq>=65][5][b=c][a==b][=d][e=f]");
    EXPECT_EQ(Items("{ a, {b} } , c"), "[a,{b}][c]");
    EXPECT_EQ(Items("a\\ , b \\ "), "[a ][b  ]");
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
    std::string many;
    for (int i = 0; i < 200; ++i)
        many += "{},";
    EXPECT_TRUE(ListText().Parse(many.c_str())) << "which lie beside one another";
    ListText deep((std::string(100, '{') + std::string(100, '}')).c_str());
    EXPECT_THROW(deep.AddList(deep), std::length_error);
}
