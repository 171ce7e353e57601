// Components that a program offers under a ProgID.
#pragma once

#include <functional>
#include <memory>

#include <mersola/platform/com_error.h>
#include <mersola/platform/export.h>

namespace mersola {

/// The base of every component; what a component can do is found with std::dynamic_pointer_cast.
class MERSOLA_EXPORT Component {
  public:
    virtual ~Component() = default;
};

/// Makes a component. A null result or an exception means that it cannot be made.
using ComponentFactory = std::function<std::shared_ptr<Component>()>;

/// Offers a component under `progId` (compared without regard to case) to this process; an empty
/// factory withdraws it. May be called from any thread; replaces an earlier registration.
MERSOLA_EXPORT void RegisterComponent(const char* progId, ComponentFactory factory);

/// Creates the component registered under `progId`. Returns S_OK and sets `component`; otherwise
/// REGDB_E_CLASSNOTREG (nobody registered it) or E_FAIL (its factory failed), `component` null.
MERSOLA_EXPORT HRESULT CreateComponent(const char* progId,
                                       std::shared_ptr<Component>& component) noexcept;

}  // namespace mersola
