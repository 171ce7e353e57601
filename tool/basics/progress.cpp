// Drawing the bar anew whenever it has grown by a percent.
#include "progress.h"

#include <algorithm>
#include <ostream>
#include <string>

namespace mersola::tool {

void Progress::Show(double done) {
    const int percent = static_cast<int>(std::clamp(done, 0.0, 1.0) * 100);
    if (!terminal_ || percent == percent_) return;
    percent_ = percent;
    constexpr int kWidth = 50;
    std::string bar(kWidth, ' ');
    std::fill_n(bar.begin(), percent * kWidth / 100, '#');
    *terminal_ << "\r[" << bar << "] " << percent << " %" << std::flush;
}

void Progress::Clear() {
    if (percent_ >= 0) *terminal_ << "\r\x1b[K" << std::flush;
    percent_ = -1;
}

}  // namespace mersola::tool
