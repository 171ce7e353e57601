// Sound files through libsndfile.
#include "sound_file.h"

#include <sndfile.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sstream>
#include <string_view>

#include "basics/failure.h"

namespace mersola::tool {

struct SoundFile::Handle {
    SF_INFO info{};
    SNDFILE* file = nullptr;
    ~Handle() { sf_close(file); }
};

namespace {

// Whoever writes to a pipe cannot go back to the header, and puts something large there.
bool IsUnknown(long long size) {
    constexpr long long mostOfSigned = 0x80000000, mostOfUnsigned = 0xFFFFFFFF, margin = 0x1000;
    return (size >= mostOfSigned - margin && size <= mostOfSigned) ||
           size >= mostOfUnsigned - margin;
}

// Whether the header tells of more sound than the file holds. The library then takes what there is,
// and says so in its log only: "data : 192000 (should be 95978)".
bool IsCutShort(SNDFILE* file) {
    char log[16'384] = "";
    sf_command(file, SFC_GET_LOG_INFO, log, sizeof log);
    std::istringstream lines(log);
    for (std::string line; std::getline(lines, line);) {
        char part[16];
        long long told = 0, there = 0;
        if (std::sscanf(line.c_str(), " %15[^:]: %lld (should be %lld)", part, &told, &there) != 3)
            continue;
        std::string_view name = part;
        name = name.substr(0, name.find_last_not_of(' ') + 1);
        // The sound's part of WAV, AIFF and AU; W64 and RF64 compare the whole file alone.
        for (const char* each : {"data", "SSND", "Data Size", "riff", "Riff size"}) {
            if (name == each && told > there && !IsUnknown(told)) return true;
        }
    }
    return false;
}

}  // namespace

SoundFile::SoundFile(const std::string& path) : path_(path), handle_(std::make_unique<Handle>()) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0)
        throw Failure("the sound file " + Quoted(path) + " cannot be opened (" +
                      std::strerror(errno) + "); check the name");
    if (S_ISDIR(status.st_mode)) throw Failure(Quoted(path) + " is a folder; name a sound file");
    handle_->file = sf_open(path.c_str(), SFM_READ, &handle_->info);
    if (!handle_->file)
        throw Failure(Quoted(path) + " cannot be read as sound (" +
                      Printable(sf_strerror(nullptr)) + "); name a WAV or FLAC file");
    isCutShort_ = IsCutShort(handle_->file);
    constexpr std::size_t kBlock = 16384;  // frames
    channels_.resize(static_cast<std::size_t>(Channels()));
    interleaved_.resize(kBlock * channels_.size());
}

SoundFile::~SoundFile() = default;

double SoundFile::Rate() const {
    return handle_->info.samplerate;
}

int SoundFile::Channels() const {
    return handle_->info.channels;
}

std::int64_t SoundFile::Frames() const {
    return handle_->info.frames;
}

const std::vector<std::vector<double>>& SoundFile::ReadBlock() {
    const auto count = channels_.size();
    const auto wanted = static_cast<sf_count_t>(interleaved_.size() / count);
    const auto frames = sf_readf_double(handle_->file, interleaved_.data(), wanted);
    read_ += frames;
    for (std::size_t channel = 0; channel < count; ++channel) {
        channels_[channel].resize(static_cast<std::size_t>(frames));
        for (std::size_t i = 0; i < channels_[channel].size(); ++i)
            channels_[channel][i] = interleaved_[i * count + channel];
    }
    return channels_;
}

std::string SoundFile::Fault() const {
    if (sf_error(handle_->file) != SF_ERR_NO_ERROR) return Printable(sf_strerror(handle_->file));
    return isCutShort_ || read_ < Frames() ? "it ends early" : "";
}

}  // namespace mersola::tool
