// The provider for SQLite database files.
#pragma once

#include <memory>

#include "ado/provider.h"

namespace mersola::sqlite {

std::shared_ptr<ado::Provider> MakeProvider();

}  // namespace mersola::sqlite
