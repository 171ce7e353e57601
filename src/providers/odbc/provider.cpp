// Opening ODBC data sources.
#include "provider.h"

#include "session.h"

namespace mersola::odbc {
namespace {

class Provider : public ado::Provider {
  public:
    std::unique_ptr<ado::ProviderSession> Open(const ado::OpenRequest& request) override {
        return std::make_unique<Session>(
            std::make_shared<Connection>(MakeConnectText(request, InstalledDrivers()),
                                         request.connectionTimeout, request.commandTimeout));
    }
};

}  // namespace

std::shared_ptr<ado::Provider> MakeProvider() {
    return std::make_shared<Provider>();
}

}  // namespace mersola::odbc
