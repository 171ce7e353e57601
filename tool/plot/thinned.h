// Values that share a column of a picture.
#pragma once

#include <cstdint>
#include <limits>

namespace mersola::tool {

/// What is drawn in place of many values, so that a picture of a year is no larger than one of a
/// minute, and no peak gets lost.
class Thinned {
  public:
    /// `isLevel`: values in dB, whose mean is that of the energies.
    explicit Thinned(bool isLevel) : isLevel_(isLevel) {}

    /// Takes a value in, or notes that one is missing or no number to draw.
    void Add(float value);

    bool IsEmpty() const { return count_ == 0; }
    bool HasMissing() const { return hasMissing_; }

    /// These are for what is not empty.
    double Lowest() const { return lowest_; }
    double Highest() const { return highest_; }
    double Mean() const;

  private:
    double sum_ = 0;
    std::int32_t count_ = 0;
    float lowest_ = std::numeric_limits<float>::infinity();
    float highest_ = -lowest_;
    bool isLevel_;
    bool hasMissing_ = false;
};

}  // namespace mersola::tool
