// Opening databases on a server.
#include "provider.h"

#include "errors.h"
#include "form/form.h"
#include "session.h"

namespace mersola::postgresql {
namespace {

class Provider : public ado::Provider {
  public:
    std::unique_ptr<ado::ProviderSession> Open(const ado::OpenRequest& request) override {
        auto session = std::make_unique<Session>(
            std::make_shared<Connection>(MakeConnectText(request), request.commandTimeout));
        form::RequireReadable(*session, kSource);
        return session;
    }
};

}  // namespace

std::shared_ptr<ado::Provider> MakeProvider() {
    return std::make_shared<Provider>();
}

}  // namespace mersola::postgresql
