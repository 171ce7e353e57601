#include "watched_provider.h"

#include "ado/provider.h"
#include "ado/provider_registry.h"

namespace mersola::test {
namespace {

// What comes over a line that may be lost.
class Rows : public ado::RowSource {
  public:
    explicit Rows(std::unique_ptr<ado::RowSource> inner) : inner_(std::move(inner)) {}
    const std::vector<std::string>& Columns() const override { return inner_->Columns(); }
    bool Next() override {
        if (TheWatch().rowsBeforeLoss-- == 0) throw _com_error(TheWatch().error);
        return inner_->Next();
    }
    ado::Cell At(int column) const override { return inner_->At(column); }

  private:
    std::unique_ptr<ado::RowSource> inner_;
};

class Session : public ado::ProviderSession {
  public:
    explicit Session(std::unique_ptr<ado::ProviderSession> inner) : inner_(std::move(inner)) {}

    std::unique_ptr<ado::RowSource> Execute(std::string_view sql) override {
        Note(sql);
        auto rows = inner_->Execute(sql);
        if (!rows || TheWatch().rowsBeforeLoss < 0) return rows;
        return std::make_unique<Rows>(std::move(rows));
    }
    std::unique_ptr<ado::TableWriter> OpenTable(std::string_view table) override {
        Note(table);
        return inner_->OpenTable(table);
    }
    std::unique_ptr<ado::SummarySource> Summarise(const ado::SummaryRequest& request) override {
        return inner_->Summarise(request);
    }
    void Begin() override { inner_->Begin(); }
    void Commit() override { inner_->Commit(); }
    void Rollback() override { inner_->Rollback(); }
    std::string DbmsName() const override {
        return TheWatch().dbmsName.empty() ? inner_->DbmsName() : TheWatch().dbmsName;
    }

  private:
    static void Note(std::string_view sql) {
        TheWatch().statements.emplace_back(sql);
        if (TheWatch().fails && TheWatch().fails(sql)) throw _com_error(TheWatch().error);
    }

    std::unique_ptr<ado::ProviderSession> inner_;
};

class Provider : public ado::Provider {
  public:
    std::unique_ptr<ado::ProviderSession> Open(const ado::OpenRequest& request) override {
        const std::string& text = request.properties.Text();
        const ado::ConnectionString watched(std::string_view(text).substr(0, text.rfind(kWatched)));
        return std::make_unique<Session>(
            ado::FindProvider(watched.Find("Provider"))
                ->Open({watched, request.user, request.password, request.connectionTimeout,
                        request.commandTimeout}));
    }
};

}  // namespace

Watch& TheWatch() {
    static Watch watch;
    return watch;
}

void RegisterWatchedProvider() {
    ado::RegisterProvider("Watched", std::make_shared<Provider>());
}

}  // namespace mersola::test
