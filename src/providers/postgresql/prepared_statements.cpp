// Keeping the statements that were used last.
#include "prepared_statements.h"

namespace mersola::postgresql {

Known& PreparedStatements::Find(std::string_view sql, std::string_view text,
                                const Parameters& parameters) {
    key_.clear();
    for (int i = 0; i < parameters.Count(); ++i)
        (key_ += std::to_string(parameters.Types()[i])) += ',';
    (key_ += ' ') += text;
    isNew_ = false;
    if (!entries_.empty() && entries_.front().key == key_) return entries_.front();
    const auto found = byKey_.find(key_);
    isNew_ = found == byKey_.end();
    if (isNew_) return Add(sql, text);
    entries_.splice(entries_.begin(), entries_, found->second);
    return entries_.front();
}

Known& PreparedStatements::Add(std::string_view sql, std::string_view text) {
    Known known{.key = key_, .text = std::string(text)};
    if (const auto reading = Recognise(sql)) {
        known.order = order_.Behind(*reading);
        known.text += known.order;
        known.first = LockFor(*reading);
        known.isPlain = !reading->countsRows;
        if (known.isPlain) known.text += " LIMIT " + std::to_string(kMostAtOnce + 1);
    }
    known.isInsert = IsInsert(sql);
    if (entries_.size() == kMost) DropOldest();
    entries_.push_front(std::move(known));
    byKey_.emplace(entries_.front().key, entries_.begin());
    return entries_.front();
}

void PreparedStatements::Send(Known& known, const Parameters& parameters) {
    Call call{.text = known.text.c_str(),
              .parameters = parameters,
              .first = known.first,
              .isWhole = known.isPlain,
              .insert = known.isInsert ? known.text.c_str() : nullptr};
    if (isNew_) return connection_.Send(call);
    if (!known.name.empty()) {
        call.text = nullptr;
        call.name = known.name.c_str();
        return connection_.Send(call);
    }
    std::string name = "mersola_" + std::to_string(++count_);
    call.name = name.c_str();
    connection_.Send(call);
    known.name = std::move(name);
}

void PreparedStatements::DropOldest() {
    const std::string name = entries_.back().name;
    byKey_.erase(entries_.back().key);
    entries_.pop_back();
    if (name.empty()) return;
    const std::string text = "DEALLOCATE " + name;
    connection_.Execute({.text = text.c_str(), .parameters = Parameters()});
}

void PreparedStatements::Forget() {
    if (entries_.empty()) return;
    byKey_.erase(entries_.front().key);
    entries_.pop_front();
    order_.Forget();
}

void PreparedStatements::Doubt() {
    order_.Forget();
    // Those with an order in them have to be put together anew.
    while (!entries_.empty())
        DropOldest();
}

}  // namespace mersola::postgresql
