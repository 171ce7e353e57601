// A line between a program and its server that fails when a test wants it to.
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <list>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

namespace mersola::test {

/// Forwards connections to a server, whatever language it speaks. Faults come at counts of bytes,
/// so that a run repeats as far as its two ends do.
class Proxy {
  public:
    enum class Way { ToServer, ToClient };
    enum class Fault {
        Finish,  // both ends are closed in an orderly way, as by a server that shuts down
        Reset,   // both ends are reset, as by a server that is gone
        Stall,   // nothing passes any more, on any connection, and nothing is closed
    };

    /// `target` is HOST:PORT, with the host's number, or the path of a Unix socket.
    explicit Proxy(std::string target);
    ~Proxy();
    Proxy(const Proxy&) = delete;
    Proxy& operator=(const Proxy&) = delete;

    /// On 127.0.0.1, where it listens.
    std::string Port() const { return port_; }
    /// How many bytes went this way until now.
    std::size_t Passed(Way way) const { return passed_[Index(way)]; }

    /// Lets `bytes` more pass this way. The one behind them does not arrive: the fault comes
    /// instead, to its connection, and once.
    void FailAfter(Way way, std::size_t bytes, Fault fault);
    /// The fault comes now, to all connections.
    void Fail(Fault fault);
    /// Holds all that passes for so long, each way.
    void Delay(std::chrono::milliseconds time);
    /// Lets everything pass again.
    void Heal();

  private:
    using Clock = std::chrono::steady_clock;

    struct Flow {
        int from = -1;
        int to = -1;
        std::string held;
        Clock::time_point due;
        bool ended = false;
    };
    struct Link {
        explicit Link(int client, int server)
            : flows{{{client, server, {}, {}, false}, {server, client, {}, {}, false}}} {}
        std::array<Flow, 2> flows;  // by way
        bool closed = false;
    };
    struct Planned {
        Way way;
        std::size_t bytes;
        Fault fault;
    };

    static constexpr std::size_t Index(Way way) { return static_cast<std::size_t>(way); }
    void Run();
    void Accept();
    int Dial() const;
    void Read(Flow& flow);
    void Write(Link& link, Way way);
    void Bring(Fault fault, Link& link);
    static void End(Link& link, bool reset);

    const std::string target_;
    int listener_ = -1;
    std::string port_;
    std::atomic<bool> over_ = false;
    std::array<std::atomic<std::size_t>, 2> passed_{};  // by way

    mutable std::mutex mutex_;  // of what follows
    std::list<Link> links_;
    std::optional<Planned> planned_;
    std::chrono::milliseconds delay_{0};
    bool stalled_ = false;

    std::thread thread_;
};

}  // namespace mersola::test
