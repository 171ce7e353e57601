// Where in a statement a literal may give way to a parameter.
#include "places.h"

namespace mersola::dialect {

void Places::Reset() {
    frames_.assign(1, Frame());
}

bool Places::Lifts() const {
    const Frame& frame = frames_.back();
    return !frame.fixed && (frame.place == Place::Expression || frame.place == Place::Assigned ||
                            frame.place == Place::Condition);
}

void Places::Word(Keyword keyword, Keyword previous) {
    Frame& frame = frames_.back();
    Place& place = frame.place;
    switch (keyword) {
        case Keyword::Select:
        case Keyword::Group:
        case Keyword::Order:
        case Keyword::Returning:
            place = Place::Terms;
            break;
        case Keyword::From:
        case Keyword::Into:
        case Keyword::Join:
        case Keyword::Update:
            place = Place::Names;
            break;
        case Keyword::Where:
            if (place != Place::Conflict) place = Place::Expression;
            break;
        case Keyword::Having:
        case Keyword::Limit:
        case Keyword::Values:
            place = Place::Expression;
            break;
        case Keyword::Set:
            place = Place::Target;
            break;
        case Keyword::On:
            place = Place::Condition;
            break;
        case Keyword::Conflict:
            if (previous == Keyword::On) place = Place::Conflict;
            break;
        case Keyword::Do:
            if (place == Place::Conflict) place = Place::Names;
            break;
        case Keyword::As:
            if (frame.cast) frame.fixed = true;
            break;
        default:
            break;
    }
}

void Places::Symbol(char symbol, Keyword previous) {
    const Frame& outer = frames_.back();
    Place& place = frames_.back().place;
    switch (symbol) {
        case '(':
            frames_.push_back({.place = Lifts() ? Place::Expression : Place::Names,
                               .fixed = outer.fixed || outer.place == Place::Terms,
                               .cast = previous == Keyword::Cast,
                               .foreign = outer.foreign || previous == Keyword::With});
            break;
        case ')':
            if (frames_.size() > 1) frames_.pop_back();
            break;
        case '=':
            if (place == Place::Target) place = Place::Assigned;
            break;
        case ',':
            if (place == Place::Assigned) place = Place::Target;
            if (place == Place::Condition) place = Place::Names;
            break;
        default:
            break;
    }
}

}  // namespace mersola::dialect
