// CObject, which knows its class at run time, and CArchive, which stores objects in binary form.
#pragma once

#include <mersola/platform/export.h>
#include <mersola/platform/text.h>

#include <cstdint>
#include <ios>
#include <stdexcept>

class CArchive;
class CObject;

/// The information about a class at run time. Each class has one constant object of it.
struct MERSOLA_EXPORT CRuntimeClass {
    const char* m_lpszClassName;        ///< the name in the source
    int m_wSchema;                      ///< the version of the binary form
    CObject* (*m_pfnCreateObject)();    ///< null for a class that cannot be serialised
    const CRuntimeClass* m_pBaseClass;  ///< null for CObject

    /// Whether this class is `base` or derived from it.
    bool IsDerivedFrom(const CRuntimeClass* base) const noexcept;
    /// Makes a new object, which the caller deletes. Null for a class that cannot be serialised.
    CObject* CreateObject() const { return m_pfnCreateObject ? m_pfnCreateObject() : nullptr; }
};

/// The information of a class.
#define RUNTIME_CLASS(class_name) (&class_name::class##class_name)

/// Stands in a class. It gives the class its information and makes it serialisable. The class has a
/// default constructor and overrides Serialize.
#define DECLARE_SERIAL(class_name)                                   \
  public:                                                            \
    static const CRuntimeClass class##class_name;                    \
    const CRuntimeClass* GetRuntimeClass() const noexcept override { \
        return &class##class_name;                                   \
    }

/// Stands in one source file, for a class with DECLARE_SERIAL.
#define IMPLEMENT_SERIAL(class_name, base_name, schema)                   \
    const CRuntimeClass class_name::class##class_name = {                 \
        #class_name, schema, []() -> CObject* { return new class_name; }, \
        RUNTIME_CLASS(base_name)};

/// The root of classes that know their class at run time.
class MERSOLA_EXPORT CObject {
  public:
    /// The information of this class.
    static const CRuntimeClass classCObject;

    virtual ~CObject() = default;

    /// The information of the class that the object really has.
    virtual const CRuntimeClass* GetRuntimeClass() const noexcept { return &classCObject; }
    /// Whether the object is of that class or of one derived from it.
    bool IsKindOf(const CRuntimeClass* wanted) const noexcept {
        return GetRuntimeClass()->IsDerivedFrom(wanted);
    }
    /// Whether the class can be created by an archive.
    bool IsSerializable() const noexcept { return GetRuntimeClass()->m_pfnCreateObject != nullptr; }
    /// Writes the object to `archive`, or reads it from there, depending on whether the archive
    /// stores or loads. Raises CArchiveException. An object without data writes nothing.
    virtual void Serialize(CArchive& archive);

  protected:
    /// For derived classes only: nobody copies an object through its base.
    CObject() = default;
    CObject(const CObject&) = default;
    CObject& operator=(const CObject&) = default;
};

/// Why an archive could not go on.
class MERSOLA_EXPORT CArchiveException : public std::runtime_error {
  public:
    /// What happened.
    enum Cause {
        writeFailed,     ///< the stream did not take the bytes
        endOfFile,       ///< the stream ended within a value
        badData,         ///< bytes that make no value
        wrongDirection,  ///< storing into a loading archive, or the reverse
    };
    /// Makes an exception with words for the cause.
    explicit CArchiveException(Cause cause);

    const Cause m_cause;  ///< lets a handler tell the cases apart
};

/// Stores values to a stream or loads them, little-endian, the same on every machine: an int as 32
/// bits, a long as 64, a double as IEEE 64, a text as its length (32 bits) and its bytes. Every
/// failure raises CArchiveException, and leaves the variable being loaded as it was.
class MERSOLA_EXPORT CArchive {
  public:
    /// Whether values are written or read.
    enum Mode { store, load };

    /// Works on the stream's buffer, without regard to its flags; the stream outlives the archive.
    CArchive(std::ios& stream, Mode mode) : buffer_(stream.rdbuf()), mode_(mode) {}
    CArchive(const CArchive&) = delete;
    CArchive& operator=(const CArchive&) = delete;

    /// Whether the archive stores or loads. Serialize asks this.
    bool IsStoring() const noexcept { return mode_ == store; }
    bool IsLoading() const noexcept { return mode_ == load; }

    /// Store a value behind those that were stored before.
    CArchive& operator<<(int value);
    CArchive& operator<<(long value);
    CArchive& operator<<(double value);
    CArchive& operator<<(const CString& value);

    /// Load the next value, which must be of the type that was stored.
    CArchive& operator>>(int& value);
    CArchive& operator>>(long& value);
    CArchive& operator>>(double& value);
    CArchive& operator>>(CString& value);

  private:
    void Write(std::string_view bytes);
    void Read(char* bytes, std::size_t count);
    template <class Bits>
    void WriteBits(Bits bits);
    template <class Bits>
    Bits ReadBits();

    std::streambuf* buffer_;
    Mode mode_;
};
