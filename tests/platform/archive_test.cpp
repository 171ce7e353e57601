// The binary form of values; the message box beside it.
#include <gtest/gtest.h>
#include <mersola/platform/archive.h>
#include <mersola/platform/message_box.h>

#include <sstream>

namespace {

bool Loads(std::string bytes, auto& value) {
    std::istringstream stream(std::move(bytes));
    try {
        CArchive(stream, CArchive::load) >> value;
    } catch (const CArchiveException& failure) {
        return failure.m_cause != CArchiveException::endOfFile;
    }
    return true;
}

}  // namespace

TEST(Archive, HasTheSameBytesEverywhere) {
    std::ostringstream stream;
    CArchive(stream, CArchive::store) << -2 << 258L << 1.0 << "a,";
    const std::string expected(
        "\xfe\xff\xff\xff\x02\x01\0\0\0\0\0\0\0\0\0\0\0\0\xf0\x3f\x02\0\0\0a,", 26);
    EXPECT_EQ(stream.str(), expected);
}

TEST(Archive, LoadsWhatItStored) {
    const CString large(std::string(200'000, '\x80') + std::string(2, '\0'));
    std::stringstream stream;
    CArchive(stream, CArchive::store) << -2 << -3L << -0.1 << large << "";
    int number = 0;
    long wide = 0;
    double real = 0;
    CString text, empty("x");
    CArchive(stream, CArchive::load) >> number >> wide >> real >> text >> empty;
    EXPECT_TRUE(number == -2 && wide == -3 && real == -0.1 && text == large && empty.IsEmpty());
}

TEST(Archive, LeavesTheVariableAloneWhenItCannotLoad) {
    double real = 4.5;
    CString text("kept");
    EXPECT_FALSE(Loads("1234567", real));
    EXPECT_FALSE(Loads(std::string("\x05\0\0\0abcd", 8), text));
    EXPECT_FALSE(Loads(std::string(4, char(-1)) + "abc", text));
    EXPECT_TRUE(real == 4.5 && text == "kept");

    std::stringstream stream;
    CArchive loading(stream, CArchive::load);
    CArchive storing(stream, CArchive::store);
    EXPECT_THROW(loading << 1, CArchiveException);
    EXPECT_THROW(storing >> real, CArchiveException);
    EXPECT_TRUE(stream.str().empty());
}

TEST(MessageBox, GoesToTheHandlerElseToStandardErrorAsOneLine) {
    std::string seen;
    auto previous = mersola::SetMessageBoxHandler([&](const char* text, unsigned type) {
        seen = text + std::to_string(type);
        mersola::SetMessageBoxHandler({});  // from within: nothing may be locked
    });
    EXPECT_FALSE(previous);
    EXPECT_EQ(AfxMessageBox("one", 16), IDOK);
    EXPECT_EQ(seen, "one16");
    testing::internal::CaptureStderr();
    EXPECT_EQ(AfxMessageBox("two\r\nlines"), IDOK);
    EXPECT_EQ(AfxMessageBox(nullptr), IDOK);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "two  lines\n\n");
}
