// Texts: null pointers, comparisons, editing at the edges, formatting.
#include <gtest/gtest.h>
#include <locale.h>
#include <mersola/platform/text.h>

#include <stdexcept>

TEST(Text, TakesANullPointerForTheEmptyText) {
    const char* null = nullptr;
    CString text(null);
    text += null;
    EXPECT_TRUE(text == null && text == "" && CString(null, 3) == CString("abc", -1));
    EXPECT_EQ(text.Replace(null, "x"), 0);
}

TEST(Text, ComparesByteByByteOrWithoutRegardToCase) {
    EXPECT_TRUE(CString("a") < "\xc3\xa4" && "B" < CString("a") && CString("a") == "a");
    EXPECT_LT(CString("ABC").CompareNoCase("abd"), 0);
    EXPECT_NE(CString("\xc3\x84").CompareNoCase("\xc3\xa4"), 0);
}

TEST(Text, CutsAndFindsWithoutRegardToItsEnds) {
    const CString text("station");
    EXPECT_TRUE(text[0L] == 's' && text[std::size_t{6}] == 'n' && text[7] == '\0');
    EXPECT_THROW(text[(1ULL << 32) + 1], std::out_of_range);  // not wrapped to 1
    EXPECT_EQ(text.Left(3) + '|' + text.Mid(3, 2) + "|" + text.Right(2), "sta|ti|on");
    EXPECT_EQ(text.Left(-1) + text.Right(-1) + text.Mid(99) + text.Mid(7), "");
    EXPECT_EQ(text.Left(99) + text.Right(99) + text.Mid(-5, 3), "stationstationsta");
    EXPECT_TRUE(text.Find('t') == 1 && text.Find("t", 99) == -1 && text.ReverseFind('t') == 3);
}

TEST(Text, TrimsReplacesAndChangesCase) {
    EXPECT_EQ(CString(" \t a b\r\n").Trim() + CString(" \n ").Trim(), "a b");
    EXPECT_EQ(CString("00100").TrimLeft("0") + CString("00100").TrimRight("0"), "100001");
    EXPECT_EQ(CString("\xc3\x84@Z[a`").MakeLower() + CString("@z{").MakeUpper(),
              "\xc3\x84@z[a`@Z{");
    CString text("aaa,b,aa");
    EXPECT_EQ(text.Replace("aa", "aaa"), 2);  // what was put in is not searched again
    EXPECT_EQ(text, "aaaa,b,aaa");
}

TEST(Text, FormatsItsOwnTextAndLongOnesAndKeepsTheThreadsLocale) {
    CString text("ab");
    const locale_t own = newlocale(LC_ALL_MASK, "C.utf8", nullptr);
    const locale_t before = uselocale(own);
    text.Format("%s-%s %05.1f", text.GetString(), text.GetString(), 2.25);
    EXPECT_EQ(text, "ab-ab 002.2");
    EXPECT_THROW(text.Format("%ls", L"\x100"), std::runtime_error);
    text.AppendFormat("|%*d", 5000, 7);
    EXPECT_EQ(text.GetLength(), 11 + 1 + 5000);
    EXPECT_EQ(uselocale(before), own);
    freelocale(own);
}
