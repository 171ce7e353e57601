// The component that decodes a program's credentials.
#pragma once

#include <mersola/platform/component.h>
#include <mersola/platform/export.h>

/// Encodes and decodes a text with a key. A program whose credentials are encoded registers its
/// crypter under the ProgID "Crypt.crypter" before it creates a Mersola. Without a crypter,
/// credentials are used as they are given.
class MERSOLA_EXPORT ICrypter : public mersola::Component {
  public:
    /// The identifier of this interface, which programs on COM ask for.
    static constexpr const char* kInterfaceId = "{34325499-816D-44FB-BFDF-6F06700BCA9D}";

    /// Encode and decode `text` with `key` into `result`. They return a failure code when they
    /// cannot do it; `result` then has no meaning.
    virtual HRESULT encode(const CString& text, const CString& key, CString& result) = 0;
    virtual HRESULT decode(const CString& text, const CString& key, CString& result) = 0;
};
