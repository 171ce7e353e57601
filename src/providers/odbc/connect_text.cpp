// Connection strings: the keys that programs use, and those that the drivers know.
#include "connect_text.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <optional>
#include <string_view>

#include "ado/provider_registry.h"

namespace mersola::odbc {
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

std::string Given(const ado::ConnectionString& properties,
                  std::initializer_list<std::string_view> keys, const std::string& argument) {
    std::string value = FirstOf(properties, keys);
    return value.empty() ? argument : value;
}

bool Names(std::string_view driver, std::string_view part) {
    return std::search(driver.begin(), driver.end(), part.begin(), part.end(),
                       [](char left, char right) {
                           return EqualNoCase({&left, 1}, {&right, 1});
                       }) != driver.end();
}

bool IsFreeTds(std::string_view driver) {
    return Names(driver, "freetds") || Names(driver, "tdsodbc");
}

class Text {
  public:
    /// FreeTDS's driver takes a closing brace inside braces as it is, others want it doubled.
    Text(bool freeTds, std::string begin) : text_(std::move(begin)), freeTds_(freeTds) {}

    void Add(std::string_view key, std::string_view value) {
        if (value.empty()) return;
        if (!text_.empty() && text_.back() != ';') text_ += ';';
        (text_ += key) += '=';
        // Braces only where they are needed: drivers understand them in different ways.
        const bool braces =
            value.find_first_of(";{}") != value.npos || value.front() == ' ' || value.back() == ' ';
        braces ? AddInBraces(key, value) : void(text_ += value);
    }
    std::string Take() {
        // FreeTDS's driver takes the braces off only what a semicolon follows.
        if (freeTds_ && text_.ends_with('}')) text_ += ';';
        return std::move(text_);
    }

  private:
    void AddInBraces(std::string_view key, std::string_view value) {
        if (freeTds_ && value.find("};") != value.npos)
            Refuse("FreeTDS's driver cannot take }; in the value of " + std::string(key));
        text_ += '{';
        for (const char c : value) {
            text_ += c;
            if (c == '}' && !freeTds_) text_ += c;
        }
        text_ += '}';
    }

    std::string text_;
    bool freeTds_;
};

// NN of "ODBC Driver NN for SQL Server".
std::optional<int> MicrosoftVersion(std::string_view driver) {
    constexpr std::string_view kBefore = "ODBC Driver ";
    constexpr std::string_view kBehind = " for SQL Server";
    if (!driver.starts_with(kBefore) || !driver.ends_with(kBehind)) return std::nullopt;
    driver.remove_prefix(kBefore.size());
    int version = 0;
    const auto [end, error] =
        std::from_chars(driver.data(), driver.data() + driver.size(), version);
    if (error != std::errc() || !std::string_view(end, 1).starts_with(' ')) return std::nullopt;
    return version;
}

std::string FreeTdsAmong(std::span<const std::string> drivers, const char* otherwise) {
    const auto freeTds = std::ranges::find_if(drivers, IsFreeTds);
    if (freeTds == drivers.end()) Refuse(otherwise);
    return *freeTds;
}

std::string DriverFor(const ado::ConnectionString& properties,
                      std::span<const std::string> drivers) {
    const bool section = !properties.Find("Servername").empty();
    if (const std::string_view named = properties.Find("Driver"); !named.empty()) {
        if (section && !IsFreeTds(named)) Refuse("Servername is for FreeTDS's driver only");
        return std::string(named);
    }
    if (section)
        return FreeTdsAmong(drivers, "Servername needs FreeTDS's driver (Debian: tdsodbc)");
    const std::string* best = nullptr;
    for (const std::string& driver : drivers) {
        if (const auto version = MicrosoftVersion(driver);
            version && (!best || *version > MicrosoftVersion(*best)))
            best = &driver;
    }
    if (best) return *best;
    return FreeTdsAmong(drivers,
                        "No ODBC driver for SQL Server is installed: neither Microsoft's nor "
                        "FreeTDS's (Debian: tdsodbc)");
}

// Yes or no of a switch, which programs spell in several ways; nothing where it is not given.
std::optional<bool> Switch(std::string_view key, std::string_view value) {
    if (value.empty()) return std::nullopt;
    for (const std::string_view yes : {"yes", "true", "1", "mandatory", "sspi"}) {
        if (EqualNoCase(value, yes)) return true;
    }
    for (const std::string_view no : {"no", "false", "0", "optional"}) {
        if (EqualNoCase(value, no)) return false;
    }
    Refuse(std::string(key) + " can be yes or no");
}

struct Login {
    std::string user;
    std::string password;
};

void AddServer(const ado::ConnectionString& properties, bool freeTds, Text& text) {
    std::string server = FirstOf(properties, {"Data Source", "Server", "Address", "Addr"});
    const std::string_view section = properties.Find("Servername");
    if (server.empty() && section.empty())
        Refuse("The connection string names no server: Data Source is missing");
    if (!server.empty() && !section.empty())
        Refuse("The connection string names two servers: Data Source and Servername");
    text.Add("Servername", section);
    if (!freeTds) return text.Add("Server", server);
    if (section.empty()) {
        if (server.starts_with("tcp:")) server.erase(0, 4);
        const auto comma = server.find(',');
        text.Add("Server", server.substr(0, comma));
        if (comma != server.npos) {
            text.Add("Port", server.substr(server.find_first_not_of(", ", comma)));
        } else if (server.find('\\') == server.npos) {
            text.Add("Port", "1433");
        }
    }
    text.Add("TDS_Version", "7.4");
    text.Add("ClientCharset", "UTF-8");
}

void AddEncryption(const ado::ConnectionString& properties, bool freeTds, Text& text) {
    const std::string encrypt = FirstOf(properties, {"Encrypt", "Use Encryption for Data"});
    const bool strict = !freeTds && EqualNoCase(encrypt, "strict");
    const auto encrypted = strict ? true : Switch("Encrypt", encrypt);
    const auto trusted =
        Switch("TrustServerCertificate",
               FirstOf(properties, {"TrustServerCertificate", "Trust Server Certificate"}));
    if (freeTds) {
        if (encrypted) text.Add("Encryption", *encrypted ? "require" : "off");
        // What the string asks for is done or refused; this driver would leave the check out.
        const bool isToBeChecked = trusted ? !*trusted : encrypted.value_or(false);
        if (isToBeChecked && properties.Find("Servername").empty())
            Refuse(
                "FreeTDS's driver checks the certificate only of a server that Servername= names "
                "by its section in FreeTDS's configuration; with TrustServerCertificate=yes it "
                "goes unchecked");
        return;
    }
    if (encrypted) text.Add("Encrypt", strict ? "strict" : *encrypted ? "yes" : "no");
    if (trusted) text.Add("TrustServerCertificate", *trusted ? "yes" : "no");
}

std::string ServerText(const ado::ConnectionString& properties, const Login& login,
                       std::span<const std::string> drivers) {
    const std::string driver = DriverFor(properties, drivers);
    const bool freeTds = IsFreeTds(driver);
    Text text(freeTds, "Driver={" + driver + "}");
    AddServer(properties, freeTds, text);
    text.Add("Database", FirstOf(properties, {"Initial Catalog", "Database"}));
    const auto trusted = Switch("Integrated Security",
                                FirstOf(properties, {"Integrated Security", "Trusted_Connection"}));
    if (trusted.value_or(false)) {
        text.Add("Trusted_Connection", "Yes");
    } else {
        text.Add("UID", login.user);
        text.Add("PWD", login.password);
    }
    AddEncryption(properties, freeTds, text);
    text.Add("APP", FirstOf(properties, {"Application Name", "App"}));
    return text.Take();
}

// The text as it stands, but for the provider's name and the braces that FreeTDS understands.
Text TextAsItStands(const ado::ConnectionString& properties) {
    const bool freeTds = IsFreeTds(properties.Find("Driver"));
    if (!freeTds && properties.Find("Provider").empty()) return {freeTds, properties.Text()};
    Text text(freeTds, {});
    for (const auto& [key, value] : properties.Pairs()) {
        if (!EqualNoCase(key, "Provider")) text.Add(key, value);
    }
    return text;
}

std::string OwnText(const ado::ConnectionString& properties, const Login& login,
                    long commandSeconds) {
    Text text = TextAsItStands(properties);
    if (FirstOf(properties, {"Driver", "DSN", "FileDSN"}).empty()) {
        const std::string_view source = properties.Find("Data Source");
        if (properties.Find("Provider").empty() || source.empty()) {
            throw _com_error(adErrProviderNotFound,
                             ("The connection string names neither a provider nor, for ODBC, a "
                              "Driver or a DSN; Provider= can be one of: " +
                              ado::ProviderNames())
                                 .c_str(),
                             kSource);
        }
        text.Add("DSN", source);
    }
    // SQLite's driver knows no command time-out; there it is the wait for a busy database, in
    // milliseconds, that takes long.
    constexpr long kMostSeconds = std::numeric_limits<std::int32_t>::max() / 1000;
    if (Names(properties.Find("Driver"), "sqlite") && properties.Find("Timeout").empty()) {
        const bool endless = commandSeconds == 0 || commandSeconds > kMostSeconds;
        text.Add("Timeout", std::to_string((endless ? kMostSeconds : commandSeconds) * 1000));
    }
    if (properties.Find("UID").empty()) text.Add("UID", login.user);
    if (properties.Find("PWD").empty()) text.Add("PWD", login.password);
    return text.Take();
}

}  // namespace

ConnectText MakeConnectText(const ado::OpenRequest& request, std::span<const std::string> drivers) {
    const ado::ConnectionString& properties = request.properties;
    const Login login{Given(properties, {"UID", "User ID", "User"}, request.user),
                      Given(properties, {"PWD", "Password"}, request.password)};
    const std::string_view provider = properties.Find("Provider");
    const bool own = provider.empty() || EqualNoCase(provider, "MSDASQL");
    return {own ? OwnText(properties, login, request.commandTimeout)
                : ServerText(properties, login, drivers),
            Secrets(login.user, login.password)};
}

}  // namespace mersola::odbc
