// Measuring how long a transaction takes, and making the next one fit.
#include "pieces.h"

#include <algorithm>
#include <thread>
#include <utility>

#include "engines/engines.h"
#include "session/statement.h"

namespace mersola {
namespace {

using namespace std::chrono_literals;

constexpr auto kAloneAim = 20ms;    // the commit comes on top
constexpr auto kServerAim = 250ms;  // most of it on the way there and back

class Transaction {
  public:
    explicit Transaction(_Connection& connection) : connection_(connection) {
        connection_.BeginTrans();
    }
    ~Transaction() {
        try {
            if (isOpen_) connection_.RollbackTrans();
        } catch (const _com_error&) {
            // The engine has rolled back by itself, or does so when the connection closes.
        }
    }
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    void Commit() {
        connection_.CommitTrans();
        isOpen_ = false;
    }

  private:
    _Connection& connection_;
    bool isOpen_ = true;
};

}  // namespace

Pieces::Pieces(_ConnectionPtr connection, const DeletionOptions& options)
    : connection_(std::move(connection)),
      options_(options),
      engine_(FindEngine(connection_->DbmsName().View())) {
    // Files must not go before it is known that their markers can.
    const Transaction tried(*connection_);
    Run("DELETE FROM Markers WHERE GroupId=-1");
}

_RecordsetPtr Pieces::Run(const CString& sql) const {
    return runStatement(connection_, sql, false);
}

std::optional<std::int32_t> Pieces::Ask(const CString& sql) const {
    const auto rows = Run(sql);
    if (!atFirstRow(rows) || rows->Fields(0).IsNull()) return std::nullopt;
    return rows->Fields(0).Long();
}

void Pieces::Take(Portion& portion, const std::function<void()>& work) {
    std::this_thread::sleep_until(next_);
    {
        Transaction transaction(*connection_);
        const auto begun = Clock::now();
        work();
        const std::chrono::duration<double> worked = Clock::now() - begun;
        transaction.Commit();
        const auto ended = Clock::now();
        const Clock::duration taken = IsAlone() ? ended - begun : Clock::duration(0);
        next_ = ended + std::max<Clock::duration>(taken, options_.pause);
        const std::chrono::duration<double> aim = IsAlone() ? kAloneAim : kServerAim;
        const double fitting = static_cast<double>(portion.size) *
                               std::clamp(aim / std::max(worked, 1e-6 * aim), 0.25, 2.0);
        portion.size = std::clamp<std::int64_t>(static_cast<std::int64_t>(fitting), portion.least,
                                                portion.most);
    }
    if (options_.progress && !options_.progress(progress)) throw Stopped();
}

}  // namespace mersola
