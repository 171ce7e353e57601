// The providers that connection strings can name.
#pragma once

#include <memory>
#include <string_view>

#include "provider.h"

namespace mersola::ado {

/// The provider of that name; raises adErrProviderNotFound with the names that are known.
std::shared_ptr<Provider> FindProvider(std::string_view name);

}  // namespace mersola::ado
