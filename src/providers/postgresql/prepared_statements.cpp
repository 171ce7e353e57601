// Keeping the statements that were used last.
#include "prepared_statements.h"

namespace mersola::postgresql {

void PreparedStatements::Send(std::string_view sql, std::string_view text,
                              const Parameters& parameters) {
    Entry* const known = Find(text, parameters);
    const Entry& entry = known ? *known : Add(sql, text);
    Call call{.text = entry.text.c_str(), .parameters = parameters, .first = entry.first};
    if (!known) return connection_.Send(call);
    if (!entry.name.empty()) {
        call.text = nullptr;
        call.name = entry.name.c_str();
        return connection_.Send(call);
    }
    std::string name = "mersola_" + std::to_string(++count_);
    call.name = name.c_str();
    connection_.Send(call);
    known->name = std::move(name);
}

PreparedStatements::Entry* PreparedStatements::Find(std::string_view text,
                                                    const Parameters& parameters) {
    key_.clear();
    for (int i = 0; i < parameters.Count(); ++i)
        (key_ += std::to_string(parameters.Types()[i])) += ',';
    (key_ += ' ') += text;
    if (!entries_.empty() && entries_.front().key == key_) return &entries_.front();
    const auto found = byKey_.find(key_);
    if (found == byKey_.end()) return nullptr;
    entries_.splice(entries_.begin(), entries_, found->second);
    return &entries_.front();
}

PreparedStatements::Entry& PreparedStatements::Add(std::string_view sql, std::string_view text) {
    Entry entry{.key = key_, .text = std::string(text), .name = {}};
    if (const auto reading = Recognise(sql)) {
        entry.text += order_.Behind(*reading);
        entry.first = LockFor(*reading);
    }
    if (entries_.size() == kMost) DropOldest();
    entries_.push_front(std::move(entry));
    byKey_.emplace(entries_.front().key, entries_.begin());
    return entries_.front();
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
