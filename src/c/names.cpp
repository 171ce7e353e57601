// The names of functions and bands.
#include <memory>

#include "list.h"

using namespace mersola;
using namespace mersola::c;

namespace {

// Where one kind of name is kept.
struct Names {
    const char* table;
    const char* id;
    const char* name;
    const char* what;
};
constexpr Names kFunctions{"FuncNameMap", "FuncId", "FuncName", "function"};
constexpr Names kBands{"FrqNameMap", "FrqId", "FrqName", "band"};

_RecordsetPtr Run(mersola_db& db, const std::string& sql) {
    const auto rows = db.fresh.dbExecute(CString(sql));
    if (!rows) throw Failure{MERSOLA_FAILED, "there is no connection"};
    return rows;
}

int32_t ListNames(mersola_db* db, mersola_list** list, const Names& names) {
    return Call(db, [&](mersola_db& open) {
        mersola_list*& out = Required(list, "the place of the list");
        auto found = std::make_unique<mersola_list>(
            std::initializer_list<int32_t>{MERSOLA_ID, MERSOLA_NAME});
        const std::string id = names.id, name = names.name;
        const auto rows =
            Run(open, "SELECT " + id + "," + name + " FROM " + names.table + " ORDER BY " + id);
        for (; !rows->EndOfFile(); rows->MoveNext()) {
            const CString text = rows->Fields(1).Text();
            if (!text.IsEmpty()) found->Add({static_cast<int32_t>(rows->Fields(0).Long()), text});
        }
        out = found.release();
    });
}

int32_t PutName(mersola_db* db, int32_t id, const char* name, const Names& names) {
    return Call(db, [&](mersola_db& open) {
        const CString text = Text(name, "the name");
        if (text.IsEmpty()) Refuse("a name is not empty");
        open.RequireWritable();
        const std::string number = std::to_string(id);
        const auto rows = Run(open, std::string("SELECT ") + names.name + " FROM " + names.table +
                                        " WHERE " + names.id + "=" + number);
        if (!rows->EndOfFile()) {
            const CString known = rows->Fields(0).Text();
            if (known == text) return;
            throw Failure{MERSOLA_DUPLICATE, std::string(names.what) + " " + number + " is named " +
                                                 std::string(known.View()) + " already"};
        }
        Run(open, std::string("INSERT INTO ") + names.table + " (" + names.id + "," + names.name +
                      ") VALUES (" + number + ",'" + std::string(text.View()) + "')");
    });
}

}  // namespace

int32_t mersola_function_names(mersola_db* db, mersola_list** list) {
    return ListNames(db, list, kFunctions);
}

int32_t mersola_band_names(mersola_db* db, mersola_list** list) {
    return ListNames(db, list, kBands);
}

int32_t mersola_put_function_name(mersola_db* db, int32_t function, const char* name) {
    return PutName(db, function, name, kFunctions);
}

int32_t mersola_put_band_name(mersola_db* db, int32_t band, const char* name) {
    return PutName(db, band, name, kBands);
}
