// The provider for PostgreSQL.
#pragma once

#include <memory>

#include "ado/provider.h"

namespace mersola::postgresql {

std::shared_ptr<ado::Provider> MakeProvider();

}  // namespace mersola::postgresql
