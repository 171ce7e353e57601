// What a program is told on its command line.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <map>
#include <string>

namespace mersola::test {

using Numbers = std::map<std::string, std::int64_t>;

/// The words NAME=NUMBER over the numbers that hold if not given. Ends the program where a name is
/// not known.
inline Numbers NumbersGiven(int argc, char** argv, Numbers numbers) {
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        const auto equals = word.find('=');
        const auto found = numbers.find(word.substr(0, equals));
        if (equals == word.npos || found == numbers.end()) {
            std::cerr << word << " is not NAME=NUMBER with a name that is known\n";
            std::exit(2);
        }
        found->second = std::strtoll(word.c_str() + equals + 1, nullptr, 10);
    }
    return numbers;
}

}  // namespace mersola::test
