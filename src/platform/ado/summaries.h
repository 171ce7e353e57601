// Reads values as the summaries that the engine keeps.
#pragma once

#include <functional>
#include <span>

#include <mersola/platform/ado.h>

#include "provider.h"

namespace mersola::ado {

/// Hands out all summaries of a request; `take` must not use the connection. False, and nothing is
/// handed out, where the engine keeps none. Every failure raises _com_error.
bool ReadSummaries(const _ConnectionPtr& connection, const SummaryRequest& request,
                   const std::function<void(std::span<const ValueSummary>)>& take);

}  // namespace mersola::ado
