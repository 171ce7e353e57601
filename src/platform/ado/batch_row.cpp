// A row that comes as a whole needs no search for its fields.
#include "batch_row.h"

#include "state.h"

namespace mersola::ado {

void AddRow(_Recordset& batch, std::span<const std::string_view> names,
            std::span<const Cell> values) {
    RecordsetState& state = Internals::Of(batch);
    state.RequireTable();
    if (state.filled.data() != names.data()) {
        std::vector<std::size_t> places;
        for (const std::string_view name : names)
            places.push_back(static_cast<std::size_t>(state.PositionOf(name)));
        state.places = std::move(places);
        state.filled = names;
    }
    state.pending.AddRow(state.places, values);
}

}  // namespace mersola::ado
