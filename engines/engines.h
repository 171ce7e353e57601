// The engines that there are.
#pragma once

#include <algorithm>
#include <string>

#include "engine.h"
#include "postgresql.h"
#include "sqlite.h"
#include "sqlserver.h"

namespace mersola {

inline constexpr const Engine* kEngines[]{
    &kSqlite,
    &kSqlServer,
    &kPostgresql,
};

static_assert(std::ranges::all_of(kEngines, [](const Engine* each) {
    return each->arrays.tellsRows || each->savepoint;
}));

/// The engine that calls itself so; null for one that is not known.
constexpr const Engine* FindEngine(std::string_view name) {
    for (const Engine* engine : kEngines) {
        if (engine->name == name) return engine;
    }
    return nullptr;
}

/// Says that an engine is not known, and which ones are.
inline std::string UnknownEngine(std::string_view name) {
    std::string words(name.empty() ? "an engine that gives no name" : name);
    words += " is not known here; what is known is";
    for (const Engine* engine : kEngines)
        words.append(engine == *kEngines ? " " : ", ").append(engine->name);
    return words;
}

}  // namespace mersola
