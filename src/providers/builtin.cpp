// The providers that the library is built with. Registered by name here and not by static objects,
// which a linker drops from a static library.
#include "ado/provider.h"
#include "odbc/provider.h"
#include "sqlite/provider.h"
#ifdef MERSOLA_WITH_POSTGRESQL
#include "postgresql/provider.h"
#endif

namespace mersola::ado {

void RegisterBuiltinProviders() {
    RegisterProvider("SQLite", sqlite::MakeProvider());
#ifdef MERSOLA_WITH_POSTGRESQL
    RegisterProvider("PostgreSQL", postgresql::MakeProvider());
#endif
    const auto odbc = odbc::MakeProvider();
    for (const char* name : {"SQLOLEDB", "MSOLEDBSQL", "MSDASQL", ""})
        RegisterProvider(name, odbc);
}

}  // namespace mersola::ado
