// What values are exceeded for a share of the time.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace mersola {

/// Values of equally long times. Up to a million are kept as they are; more are counted in classes
/// 0.003 % wide, so that their number does not matter.
class Distribution {
  public:
    void Add(double value);
    void Clear();
    bool IsEmpty() const { return count_ == 0; }
    /// The value that is exceeded for so many per cent of the time: 0 gives the greatest, 100 the
    /// least, and between two values it is interpolated. There must be values.
    double ExceededFor(double percentage);

  private:
    static constexpr std::size_t kMostKept = std::size_t{1} << 20;

    struct Class {
        std::int64_t count = 0;
        double least = 0;
    };
    using Page = std::array<Class, 4096>;

    void Count(double value);
    double At(std::int64_t rank);  // from the greatest on

    std::int64_t count_ = 0;
    std::vector<double> kept_;
    bool isSorted_ = false;
    std::vector<std::unique_ptr<Page>> pages_;  // by ascending values
};

}  // namespace mersola
