// The providers that connection strings can name.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "provider.h"

namespace mersola::ado {

/// The provider of that name. Raises adErrProviderNotFound, with the names that are known.
std::shared_ptr<Provider> FindProvider(std::string_view name);

/// The names that are known, with commas between them.
std::string ProviderNames();

}  // namespace mersola::ado
