// The providers that the library is built with. Registered by name here and not by static objects,
// which a linker drops from a static library.
#include "provider.h"
#include "sqlite_provider.h"

namespace mersola::ado {

void RegisterBuiltinProviders() {
    RegisterProvider("SQLite", sqlite::MakeProvider());
}

}  // namespace mersola::ado
