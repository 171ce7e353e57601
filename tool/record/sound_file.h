// Reading sound files block by block.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace mersola::tool {

class SoundFile {
  public:
    /// Raises Failure when there is no such file or it is no sound.
    explicit SoundFile(const std::string& path);
    ~SoundFile();
    SoundFile(const SoundFile&) = delete;
    SoundFile& operator=(const SoundFile&) = delete;

    const std::string& Path() const { return path_; }
    double Rate() const;  ///< in hertz
    int Channels() const;
    std::int64_t Frames() const;  ///< samples of each channel, as far as the file tells
    std::int64_t FramesRead() const { return read_; }

    /// The next samples of each channel, 1 for digital full scale; empty at the end.
    const std::vector<std::vector<double>>& ReadBlock();

    /// Why the file could not be read to the end that its header announces; empty when it was.
    std::string Fault() const;

  private:
    struct Handle;

    std::string path_;
    std::unique_ptr<Handle> handle_;
    bool isCutShort_ = false;  // the file ends early; Frames gives what is left
    std::int64_t read_ = 0;
    std::vector<double> interleaved_;
    std::vector<std::vector<double>> channels_;
};

}  // namespace mersola::tool
