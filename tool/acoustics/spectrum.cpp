// Power spectrum by a real FFT; the only user of <fftw3.h>.
#include "spectrum.h"

#include <fftw3.h>

#include <bit>
#include <cmath>
#include <mutex>
#include <new>
#include <numbers>

namespace mersola::acoustics {
namespace {

// FFTW makes and destroys plans in shared tables; only the execution is safe on several threads.
std::mutex& PlanMutex() {
    static std::mutex mutex;
    return mutex;
}

template <typename T>
struct Aligned {
    explicit Aligned(std::size_t count) : data(static_cast<T*>(fftw_malloc(count * sizeof(T)))) {
        if (!data) throw std::bad_alloc();
    }
    ~Aligned() { fftw_free(data); }
    Aligned(const Aligned&) = delete;
    Aligned& operator=(const Aligned&) = delete;

    T* const data;
};

}  // namespace

struct Spectrum::Transform {
    explicit Transform(std::size_t length) : input(length), output(length / 2 + 1) {
        const std::lock_guard lock(PlanMutex());
        // An estimated plan is the same on every run, so that the same file gives the same levels.
        plan =
            fftw_plan_dft_r2c_1d(static_cast<int>(length), input.data, output.data, FFTW_ESTIMATE);
        if (!plan) throw std::bad_alloc();
    }
    ~Transform() {
        const std::lock_guard lock(PlanMutex());
        fftw_destroy_plan(plan);
    }
    Transform(const Transform&) = delete;
    Transform& operator=(const Transform&) = delete;

    Aligned<double> input;
    Aligned<fftw_complex> output;
    fftw_plan plan = nullptr;
};

Spectrum::Spectrum(std::size_t length)
    : window_(length), powers_(length / 2 + 1), transform_(std::make_unique<Transform>(length)) {
    double sumOfSquares = 0;
    for (std::size_t i = 0; i < length; ++i) {
        // Sampled half a step off, so that no sample of the shortest frame is weighted with zero.
        const double sine = std::sin(std::numbers::pi * (static_cast<double>(i) + 0.5) /
                                     static_cast<double>(length));
        window_[i] = sine * sine;
        sumOfSquares += window_[i] * window_[i];
    }
    const double scale = 1 / std::sqrt(static_cast<double>(length) * sumOfSquares);
    for (double& weight : window_)
        weight *= scale;
}

Spectrum::~Spectrum() = default;

std::span<const double> Spectrum::Powers(std::span<const double> frame) {
    for (std::size_t i = 0; i < window_.size(); ++i)
        transform_->input.data[i] = window_[i] * frame[i];
    fftw_execute(transform_->plan);
    for (std::size_t k = 0; k < powers_.size(); ++k) {
        const auto& [re, im] = transform_->output.data[k];
        const bool hasMirror = k != 0 && 2 * k != window_.size();
        powers_[k] = (hasMirror ? 2 : 1) * (re * re + im * im);
    }
    return powers_;
}

std::size_t FastLength(double samples) {
    const auto power = std::bit_ceil(static_cast<std::size_t>(std::ceil(samples)));
    for (const std::size_t eighths : {5U, 6U, 7U})
        if (const auto length = power / 8 * eighths; static_cast<double>(length) >= samples)
            return length;
    return power;
}

}  // namespace mersola::acoustics
