// Messages that are not for the handler of the program.
#pragma once

#include <string>

namespace mersola {

/// Takes what AfxMessageBox shows on this thread while it lives, so that it reaches neither the
/// program's handler nor standard error. Of several the last one takes it.
class HeldMessages {
  public:
    HeldMessages();
    ~HeldMessages();
    HeldMessages(const HeldMessages&) = delete;
    HeldMessages& operator=(const HeldMessages&) = delete;

    std::string last;  ///< the last message; empty if there was none

  private:
    HeldMessages* before_;
};

}  // namespace mersola
