// One busy handler for all that a connection does.
#include "patience.h"

#include <thread>
#include <utility>

namespace mersola::sqlite {

Patience::Patience(sqlite3* db, std::chrono::milliseconds limit) : limit_(limit) {
    sqlite3_busy_handler(db, Wait, this);
}

std::chrono::milliseconds Patience::Limit(std::chrono::milliseconds limit) {
    return std::exchange(limit_, limit);
}

int Patience::Wait(void* self, int count) {
    Patience& patience = *static_cast<Patience*>(self);
    if (count == 0) patience.start_ = Clock::now();
    if (Clock::now() - patience.start_ >= patience.limit_) return 0;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return 1;
}

}  // namespace mersola::sqlite
