// Connection strings: the keys that programs use, and those that libpq knows.
#include "connect_text.h"

#include <libpq-fe.h>

#include <algorithm>
#include <initializer_list>
#include <memory>
#include <string_view>

#include "errors.h"

namespace mersola::postgresql {
namespace {

using ado::EqualNoCase;

[[noreturn]] void Refuse(const std::string& what) {
    throw _com_error(E_FAIL, what.c_str(), kSource);
}

std::string FirstOf(const ado::ConnectionString& properties,
                    std::initializer_list<std::string_view> keys) {
    for (const std::string_view key : keys) {
        if (const std::string_view value = properties.Find(key); !value.empty())
            return std::string(value);
    }
    return {};
}

bool IsOneOf(std::string_view value, std::initializer_list<std::string_view> words) {
    return std::ranges::any_of(words, [&](auto word) { return EqualNoCase(value, word); });
}

// The mode of encryption, in OLE DB's words or in libpq's. What a string asks for is done or
// refused.
std::string SslMode(const ado::ConnectionString& properties) {
    const std::string encrypt = FirstOf(properties, {"Encrypt", "Use Encryption for Data"});
    const std::string trust =
        FirstOf(properties, {"TrustServerCertificate", "Trust Server Certificate"});
    const bool isChecked = IsOneOf(trust, {"no", "false", "0"});
    if (!isChecked && !IsOneOf(trust, {"", "yes", "true", "1"}))
        Refuse("TrustServerCertificate can be yes or no");
    if (encrypt.empty()) return isChecked ? "verify-full" : "";
    if (IsOneOf(encrypt, {"yes", "true", "1", "mandatory"}))
        return isChecked ? "verify-full" : "require";
    if (IsOneOf(encrypt, {"strict"})) return "verify-full";
    if (IsOneOf(encrypt, {"no", "false", "0"})) return "disable";
    if (IsOneOf(encrypt, {"optional"})) return "prefer";
    constexpr std::string_view kModes[]{"disable", "allow",     "prefer",
                                        "require", "verify-ca", "verify-full"};
    for (const std::string_view mode : kModes) {
        if (EqualNoCase(encrypt, mode)) return std::string(mode);
    }
    Refuse("Encrypt can be yes, no, optional, strict, or a mode of libpq such as verify-full");
}

}  // namespace

ConnectText MakeConnectText(const ado::OpenRequest& request) {
    const ado::ConnectionString& properties = request.properties;
    ConnectText connect;
    const auto add = [&](const char* keyword, const std::string& value) {
        if (!value.empty()) connect.keywords.emplace_back(keyword, value);
    };
    std::string user = FirstOf(properties, {"UID", "User ID", "User"});
    if (user.empty()) user = request.user;
    std::string password = FirstOf(properties, {"PWD", "Password"});
    if (password.empty()) password = request.password;
    add("fallback_application_name", "mersola");
    if (request.connectionTimeout > 0)
        add("connect_timeout", std::to_string(request.connectionTimeout));
    // libpq's own keywords; what is given in OLE DB's words as well counts last.
    const std::unique_ptr<PQconninfoOption, decltype(&PQconninfoFree)> known(PQconndefaults(),
                                                                             PQconninfoFree);
    for (const PQconninfoOption* option = known.get(); option && option->keyword; ++option) {
        if (!IsOneOf(option->keyword, {"user", "password", "client_encoding"}))
            add(option->keyword, std::string(properties.Find(option->keyword)));
    }
    const std::string server = FirstOf(properties, {"Data Source", "Server", "Address", "Addr"});
    const auto comma = server.find(',');
    add("host", server.substr(0, comma));
    if (comma != server.npos) {
        const auto port = server.find_first_not_of(' ', comma + 1);
        if (port == server.npos) Refuse("The connection string names no port behind the comma");
        add("port", server.substr(port));
    }
    add("dbname", FirstOf(properties, {"Initial Catalog", "Database"}));
    add("application_name", FirstOf(properties, {"Application Name", "App"}));
    add("sslmode", SslMode(properties));
    add("user", user);
    add("password", password);
    add("client_encoding", "UTF8");
    connect.schema = properties.Find("Schema");
    connect.secrets = ado::Secrets(user, password);
    return connect;
}

}  // namespace mersola::postgresql
