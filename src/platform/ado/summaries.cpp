#include "summaries.h"

#include "state.h"

namespace mersola::ado {

bool ReadSummaries(const _ConnectionPtr& connection, const SummaryRequest& request,
                   const std::function<void(std::span<const ValueSummary>)>& take) {
    ConnectionState& state = Internals::Of(*connection);
    auto& session = state.Idle();
    bool areKept = false;
    state.Noting([&] {
        const auto source = session.Summarise(request);
        if (!source) return;
        areKept = true;
        for (auto next = source->Next(); !next.empty(); next = source->Next())
            take(next);
    });
    return areKept;
}

}  // namespace mersola::ado
