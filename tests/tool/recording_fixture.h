// Sounds for the tests of the tool that record.
#pragma once

#include <sndfile.h>

#include <cmath>

#include "tool_fixture.h"

namespace mersola::tool {

class RecordingTool : public Tool {
  protected:
    // signal(time, channel) in parts of full scale; returns the path.
    template <class Signal>
    std::string Sound(const std::string& name, double seconds, Signal signal, int rate = 48000,
                      int channels = 1, int format = SF_FORMAT_WAV | SF_FORMAT_FLOAT) {
        const std::string path = folder_ / name;
        SF_INFO info{};
        info.samplerate = rate;
        info.channels = channels;
        info.format = format;
        SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
        std::vector<double> frames;
        for (int i = 0; i < std::lround(seconds * rate); ++i) {
            for (int channel = 0; channel < channels; ++channel)
                frames.push_back(signal(static_cast<double>(i) / rate, channel));
        }
        sf_write_double(file, frames.data(), static_cast<sf_count_t>(frames.size()));
        sf_close(file);
        return path;
    }
    std::string Silence(const std::string& name, double seconds, int rate = 48000) {
        return Sound(
            name, seconds, [](double, int) { return 0; }, rate);
    }

    Words RecordWords(const std::string& file, const std::string& measurement = "noise") const {
        return {"record", db_, file, "--instrument", "Pier 4", "--measurement", measurement};
    }
};

}  // namespace mersola::tool
