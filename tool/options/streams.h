// Where the commands write, and the parser that they add themselves to.
#pragma once

#include <iosfwd>

namespace CLI {
class App;
}

namespace mersola::tool {

struct Streams {
    std::ostream& out;
    std::ostream& err;
    std::ostream* terminal;  ///< null when there is none
};

}  // namespace mersola::tool
