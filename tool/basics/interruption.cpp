// Catching signals.
#include "interruption.h"

#include <atomic>

namespace mersola::tool {
namespace {

std::atomic<int> caughtSignal;

}  // namespace

Interruption::Interruption() {
    caughtSignal = 0;
    struct sigaction action {};
    action.sa_handler = [](int signal) { caughtSignal = signal; };
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(SIGINT, &action, &beforeInterrupt_);
    sigaction(SIGTERM, &action, &beforeTerminate_);
}

Interruption::~Interruption() {
    sigaction(SIGINT, &beforeInterrupt_, nullptr);
    sigaction(SIGTERM, &beforeTerminate_, nullptr);
}

int Interruption::Signal() const {
    return caughtSignal;
}

}  // namespace mersola::tool
