// Power spectrum of one frame of samples under a Hann window.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

namespace mersola::acoustics {

// Line k stands for the frequency k * rate / length. The powers are one-sided and scaled so that
// they add up to the frame's mean square, each sample weighted by the squared window.
class Spectrum {
  public:
    // length: samples in a frame, at least 1.
    explicit Spectrum(std::size_t length);
    ~Spectrum();
    Spectrum(const Spectrum&) = delete;
    Spectrum& operator=(const Spectrum&) = delete;

    std::size_t Length() const { return window_.size(); }
    std::size_t Lines() const { return powers_.size(); }

    // The powers of the frame's lines, valid until the next call. `frame` holds Length() samples;
    // one of them that is not finite makes powers that are not finite.
    std::span<const double> Powers(std::span<const double> frame);

  private:
    struct Transform;

    std::vector<double> window_;
    std::vector<double> powers_;
    std::unique_ptr<Transform> transform_;
};

// The shortest length of at least `samples` that transforms fast; less than 21 % above it.
std::size_t FastLength(double samples);

}  // namespace mersola::acoustics
