// The binary form of values; the message box beside it.
#include <gtest/gtest.h>
#include <mersola/platform/archive.h>
#include <mersola/platform/message_box.h>

#include <sstream>

TEST(Archive, LoadsWhatItStoredFromTheSameBytesEverywhere) {
    const CString large(std::string(200'000, '\x80') + std::string(2, '\0'));
    std::stringstream stream;
    CArchive(stream, CArchive::store) << -2 << -259L << 1.0 << "a," << large;
    const std::string expected(
        "\xfe\xff\xff\xff\xfd\xfe\xff\xff\xff\xff\xff\xff\0\0\0\0\0\0\xf0\x3f\x02\0\0\0a,", 26);
    EXPECT_TRUE(stream.str().starts_with(expected));
    int number = 0;
    long wide = 0;
    double real = 0;
    CString text, last;
    CArchive(stream, CArchive::load) >> number >> wide >> real >> text >> last;
    EXPECT_TRUE(number == -2 && wide == -259 && real == 1 && text == "a," && last == large);
}

TEST(Archive, LeavesTheVariableAloneWhenItCannotLoad) {
    double real = 4.5;
    CString text("kept");
    const auto load = [](const std::string& bytes, auto& value) {
        std::stringstream stream(bytes);
        CArchive(stream, CArchive::load) >> value;
    };
    EXPECT_THROW(load("1234567", real), CArchiveException);
    EXPECT_THROW(load(std::string(4, char(-1)) + "abc", text), CArchiveException);
    std::stringstream stream("12345678");
    EXPECT_THROW(CArchive(stream, CArchive::load) << 1, CArchiveException);
    EXPECT_THROW(CArchive(stream, CArchive::store) >> real, CArchiveException);
    EXPECT_TRUE(real == 4.5 && text == "kept" && stream.str() == "12345678");
}

TEST(MessageBox, GoesToTheHandlerElseToStandardErrorAsOneLine) {
    mersola::SetMessageBoxHandler([](const char* text, unsigned type) {
        EXPECT_EQ(text + std::to_string(type), "one16");
        mersola::SetMessageBoxHandler({});  // from within: nothing may be locked
    });
    testing::internal::CaptureStderr();
    EXPECT_EQ(AfxMessageBox("one", 16), IDOK);
    AfxMessageBox("two\r\nlines");
    AfxMessageBox(nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "two  lines\n\n");
}
