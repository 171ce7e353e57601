// Components that a program offers under a ProgID.
#pragma once

#include <functional>
#include <memory>

#include <mersola/platform/com_error.h>
#include <mersola/platform/export.h>

namespace mersola {

/// The base of every component. A caller finds out with std::dynamic_pointer_cast what a component
/// can do.
class MERSOLA_EXPORT Component {
  public:
    virtual ~Component() = default;
};

/// Makes a component. A null result or an exception means that it cannot be made.
using ComponentFactory = std::function<std::shared_ptr<Component>()>;

/// Offers a component under `progId`, which is compared without regard to case, to this process. It
/// replaces an earlier registration; an empty factory withdraws it. Any thread may call it.
MERSOLA_EXPORT void RegisterComponent(const char* progId, ComponentFactory factory);

/// Creates the component that is registered under `progId`. Returns S_OK and sets `component`.
/// Otherwise returns REGDB_E_CLASSNOTREG, when nobody registered it, or E_FAIL, when its factory
/// failed, and sets `component` to null.
MERSOLA_EXPORT HRESULT CreateComponent(const char* progId,
                                       std::shared_ptr<Component>& component) noexcept;

}  // namespace mersola
