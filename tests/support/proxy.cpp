#include "proxy.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <vector>

namespace mersola::test {
namespace {

constexpr int kTick = 5;  // ms, until a command is heard

template <class Address>
sockaddr* Any(Address& address) {
    return reinterpret_cast<sockaddr*>(&address);
}

// Whole messages pass at once, so that a test's count of bytes says where one is torn.
void Prepare(int socket) {
    const int yes = 1;
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
    fcntl(socket, F_SETFL, O_NONBLOCK);
    fcntl(socket, F_SETFD, FD_CLOEXEC);
}

bool IsGone() {
    return errno != EAGAIN && errno != EINTR;
}

}  // namespace

Proxy::Proxy(std::string target) : target_(std::move(target)) {
    listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (bind(listener_, Any(address), size) != 0 || listen(listener_, SOMAXCONN) != 0 ||
        getsockname(listener_, Any(address), &size) != 0)
        throw std::runtime_error("the proxy cannot listen");
    port_ = std::to_string(ntohs(address.sin_port));
    thread_ = std::thread([this] { Run(); });
}

Proxy::~Proxy() {
    over_ = true;
    thread_.join();
    for (Link& link : links_)
        End(link, true);
    close(listener_);
}

void Proxy::FailAfter(Way way, std::size_t bytes, Fault fault) {
    const std::lock_guard lock(mutex_);
    planned_ = {way, bytes, fault};
}

void Proxy::Fail(Fault fault) {
    const std::lock_guard lock(mutex_);
    stalled_ = fault == Fault::Stall;
    for (Link& link : links_)
        Bring(fault, link);
}

void Proxy::Delay(std::chrono::milliseconds time) {
    const std::lock_guard lock(mutex_);
    delay_ = time;
}

void Proxy::Heal() {
    const std::lock_guard lock(mutex_);
    planned_.reset();
    stalled_ = false;
    delay_ = {};
}

void Proxy::Run() {
    struct Watched {
        Link* link;
        Way way;
        bool writes;
    };
    while (!over_) {
        std::vector<pollfd> polled{{listener_, POLLIN, 0}};
        std::vector<Watched> watched;
        {
            const std::lock_guard lock(mutex_);
            links_.remove_if([](const Link& link) { return link.closed; });
            for (Link& link : links_) {
                for (const Way way : {Way::ToServer, Way::ToClient}) {
                    const Flow& flow = link.flows[Index(way)];
                    const bool writes = !flow.held.empty();
                    if (writes ? stalled_ || Clock::now() < flow.due : flow.ended) continue;
                    polled.push_back({writes ? flow.to : flow.from,
                                      static_cast<short>(writes ? POLLOUT : POLLIN), 0});
                    watched.push_back({&link, way, writes});
                }
            }
        }
        poll(polled.data(), polled.size(), kTick);
        const std::lock_guard lock(mutex_);
        for (std::size_t i = 0; i < watched.size(); ++i) {
            auto& [link, way, writes] = watched[i];
            if (polled[i + 1].revents == 0 || link->closed) continue;
            writes ? Write(*link, way) : Read(link->flows[Index(way)]);
            if (std::ranges::all_of(
                    link->flows, [](const Flow& flow) { return flow.ended && flow.held.empty(); }))
                End(*link, false);
        }
        if (polled.front().revents != 0) Accept();
    }
}

void Proxy::Accept() {
    const int client = accept(listener_, nullptr, nullptr);
    if (client < 0) return;
    const int server = Dial();
    Prepare(client);
    links_.emplace_back(client, server);
    if (server < 0) return End(links_.back(), true);
    Prepare(server);
}

int Proxy::Dial() const {
    const bool local = target_.starts_with('/');
    const int server = socket(local ? AF_UNIX : AF_INET, SOCK_STREAM, 0);
    int code = -1;
    if (local) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        target_.copy(address.sun_path, sizeof address.sun_path - 1);
        code = connect(server, Any(address), sizeof address);
    } else {
        const auto colon = target_.rfind(':');
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(std::stoi(target_.substr(colon + 1))));
        inet_pton(AF_INET, target_.substr(0, colon).c_str(), &address.sin_addr);
        code = connect(server, Any(address), sizeof address);
    }
    if (code == 0) return server;
    close(server);
    return -1;
}

void Proxy::Read(Flow& flow) {
    char data[65536];
    const ssize_t got = recv(flow.from, data, sizeof data, 0);
    if (got < 0 && !IsGone()) return;
    if (got > 0) {
        flow.held.assign(data, static_cast<std::size_t>(got));
        flow.due = Clock::now() + delay_;
    } else {
        flow.ended = true;
        shutdown(flow.to, SHUT_WR);
    }
}

void Proxy::Write(Link& link, Way way) {
    Flow& flow = link.flows[Index(way)];
    const bool fails = planned_ && planned_->way == way;
    const std::size_t most = fails ? std::min(planned_->bytes, flow.held.size()) : flow.held.size();
    // Counted first: whoever has received bytes finds them counted.
    passed_[Index(way)] += most;
    const ssize_t sent = most > 0 ? send(flow.to, flow.held.data(), most, MSG_NOSIGNAL) : 0;
    passed_[Index(way)] -= most - static_cast<std::size_t>(std::max<ssize_t>(sent, 0));
    if (sent < 0) {
        if (IsGone()) flow.held.clear();
        return;
    }
    flow.held.erase(0, static_cast<std::size_t>(sent));
    if (!fails) return;
    planned_->bytes -= static_cast<std::size_t>(sent);
    if (planned_->bytes > 0 || flow.held.empty()) return;
    const Fault fault = planned_->fault;
    planned_.reset();
    Bring(fault, link);
}

void Proxy::Bring(Fault fault, Link& link) {
    if (fault == Fault::Stall) {
        stalled_ = true;
    } else {
        End(link, fault == Fault::Reset);
    }
}

void Proxy::End(Link& link, bool reset) {
    if (link.closed) return;
    link.closed = true;
    const linger now{1, 0};
    for (const Flow& flow : link.flows) {
        if (reset) setsockopt(flow.from, SOL_SOCKET, SO_LINGER, &now, sizeof now);
        close(flow.from);
    }
}

}  // namespace mersola::test
