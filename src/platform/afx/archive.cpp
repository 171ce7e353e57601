// CObject's class information and the binary form of values.
#include <mersola/platform/archive.h>

#include <algorithm>
#include <array>
#include <bit>
#include <streambuf>

const CRuntimeClass CObject::classCObject = {"CObject", 0, nullptr, nullptr};

bool CRuntimeClass::IsDerivedFrom(const CRuntimeClass* base) const noexcept {
    const CRuntimeClass* candidate = this;
    while (candidate && candidate != base) {
        candidate = candidate->m_pBaseClass;
    }
    return candidate != nullptr;
}

void CObject::Serialize(CArchive&) {}

namespace {

const char* Words(CArchiveException::Cause cause) {
    switch (cause) {
        case CArchiveException::writeFailed:
            return "the archive cannot be written";
        case CArchiveException::endOfFile:
            return "the archive ends within a value";
        case CArchiveException::badData:
            return "the archive holds bytes that make no value";
        case CArchiveException::wrongDirection:
            return "the archive works in the other direction";
    }
    return "";
}

}  // namespace

CArchiveException::CArchiveException(Cause cause)
    : std::runtime_error(Words(cause)), m_cause(cause) {}

void CArchive::Write(std::string_view bytes) {
    if (!IsStoring()) {
        throw CArchiveException(CArchiveException::wrongDirection);
    }
    const auto count = static_cast<std::streamsize>(bytes.size());
    if (!buffer_ || buffer_->sputn(bytes.data(), count) != count) {
        throw CArchiveException(CArchiveException::writeFailed);
    }
}

void CArchive::Read(char* bytes, std::size_t count) {
    if (!IsLoading()) {
        throw CArchiveException(CArchiveException::wrongDirection);
    }
    const auto wanted = static_cast<std::streamsize>(count);
    if (!buffer_ || buffer_->sgetn(bytes, wanted) != wanted) {
        throw CArchiveException(CArchiveException::endOfFile);
    }
}

template <class Bits>
void CArchive::WriteBits(Bits bits) {
    std::array<char, sizeof(Bits)> bytes;
    for (char& byte : bytes) {
        byte = static_cast<char>(bits & 0xff);
        bits >>= 8;
    }
    Write({bytes.data(), bytes.size()});
}

template <class Bits>
Bits CArchive::ReadBits() {
    std::array<char, sizeof(Bits)> bytes;
    Read(bytes.data(), bytes.size());
    Bits bits = 0;
    for (std::size_t i = bytes.size(); i-- > 0;) {
        bits = bits << 8 | static_cast<unsigned char>(bytes[i]);
    }
    return bits;
}

CArchive& CArchive::operator<<(int value) {
    WriteBits(static_cast<std::uint32_t>(value));
    return *this;
}

CArchive& CArchive::operator<<(long value) {
    WriteBits(static_cast<std::uint64_t>(value));
    return *this;
}

CArchive& CArchive::operator<<(double value) {
    WriteBits(std::bit_cast<std::uint64_t>(value));
    return *this;
}

CArchive& CArchive::operator<<(const CString& value) {
    WriteBits(static_cast<std::uint32_t>(value.GetLength()));
    Write(value.View());
    return *this;
}

CArchive& CArchive::operator>>(int& value) {
    value = static_cast<int>(ReadBits<std::uint32_t>());
    return *this;
}

CArchive& CArchive::operator>>(long& value) {
    value = static_cast<long>(ReadBits<std::uint64_t>());
    return *this;
}

CArchive& CArchive::operator>>(double& value) {
    value = std::bit_cast<double>(ReadBits<std::uint64_t>());
    return *this;
}

CArchive& CArchive::operator>>(CString& value) {
    // Piece by piece: a damaged length must not ask for memory that the stream cannot fill.
    constexpr std::size_t kPiece = 65536;
    std::string text;
    for (std::size_t left = ReadBits<std::uint32_t>(); left > 0;) {
        const auto piece = std::min(left, kPiece);
        text.resize(text.size() + piece);
        Read(text.data() + text.size() - piece, piece);
        left -= piece;
    }
    value = std::move(text);
    return *this;
}
