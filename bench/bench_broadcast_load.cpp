// Load generator for the broadcast benchmark (started by bench_broadcast).
//
// Opens one WebSocket per member on 127.0.0.1, resumes each member's session, then sends
// messages into one group at rising rates and measures, at every other member, the time from
// send to receipt. Deliberately lean (raw sockets, epoll, no JSON decoding) so that the generator
// is not what saturates first.
//
// Usage: bench_broadcast_load PORT CONVERSATION_ID SECONDS_PER_STEP RATE... < tokens (one a line)
// Output: "step RATE" when a step starts, then
//         "result RATE SENT SECONDS DELIVERIES DELIVERIES_PER_S P50_MS P99_MS MAX_MS MISSING CPU_S"
//         (CPU_S: this generator's own CPU seconds during the step)

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <random>
#include <string>
#include <string_view>
#include <sys/epoll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

std::int64_t nowNs() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now().time_since_epoch())
        .count();
}

[[noreturn]] void fail(const std::string& what) {
    std::fprintf(stderr, "bench_broadcast_load: %s (%s)\n", what.c_str(), std::strerror(errno));
    std::exit(1);
}

std::mt19937_64 randomBits{std::random_device{}()};

std::string base64(const unsigned char* data, std::size_t size) {
    static const char alphabet[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    for (std::size_t i = 0; i < size; i += 3) {
        const std::uint32_t n = (std::uint32_t(data[i]) << 16) |
                                (i + 1 < size ? std::uint32_t(data[i + 1]) << 8 : 0) |
                                (i + 2 < size ? std::uint32_t(data[i + 2]) : 0);
        out += alphabet[(n >> 18) & 63];
        out += alphabet[(n >> 12) & 63];
        out += i + 1 < size ? alphabet[(n >> 6) & 63] : '=';
        out += i + 2 < size ? alphabet[n & 63] : '=';
    }
    return out;
}

// One client connection: the minimal client side of the WebSocket protocol (masked frames out,
// unmasked frames in, continuation, ping and close).
struct Member {
    int fd = -1;
    int index = 0;
    std::string in;          // bytes read, not yet parsed
    std::string out;         // bytes waiting for the socket
    std::string joined;      // a fragmented message being reassembled
    std::string token;       // the member's session, resumed once upgraded
    bool wantsWrite = false; // registered for EPOLLOUT: some output waits for room
    bool upgraded = false;
    bool welcomed = false;
    bool closed = false;
};

void queueFrame(Member& m, unsigned char opcode, std::string_view payload) {
    unsigned char header[14];
    std::size_t n = 0;
    header[n++] = 0x80 | opcode;
    if (payload.size() < 126) {
        header[n++] = 0x80 | static_cast<unsigned char>(payload.size());
    } else if (payload.size() <= 0xFFFF) {
        header[n++] = 0x80 | 126;
        header[n++] = static_cast<unsigned char>(payload.size() >> 8);
        header[n++] = static_cast<unsigned char>(payload.size());
    } else {
        header[n++] = 0x80 | 127;
        for (int shift = 56; shift >= 0; shift -= 8)
            header[n++] = static_cast<unsigned char>(std::uint64_t(payload.size()) >> shift);
    }
    const std::uint32_t key = static_cast<std::uint32_t>(randomBits());
    unsigned char mask[4];
    std::memcpy(mask, &key, 4);
    std::memcpy(header + n, mask, 4);
    n += 4;
    m.out.append(reinterpret_cast<const char*>(header), n);
    const std::size_t start = m.out.size();
    m.out.append(payload);
    for (std::size_t i = 0; i < payload.size(); ++i)
        m.out[start + i] = static_cast<char>(m.out[start + i] ^ mask[i & 3]);
}

struct Step {
    int rate = 0;
    int index = 0;
    std::int64_t firstSendNs = 0;
    std::int64_t lastSendNs = 0;
    std::int64_t lastReceiptNs = 0;
    long sent = 0;
    long deliveries = 0;
    std::vector<std::int64_t> latenciesNs;
};

class Generator {
public:
    Generator(int port, std::string conversationID, std::vector<std::string> tokens)
        : port_(port), conversationID_(std::move(conversationID)) {
        epoll_ = epoll_create1(EPOLL_CLOEXEC);
        if (epoll_ < 0)
            fail("epoll_create1");
        members_.resize(tokens.size());
        for (std::size_t i = 0; i < tokens.size(); ++i)
            open(members_[i], int(i), tokens[i]);
    }

    // Waits until every member is upgraded and welcomed.
    void waitReady(std::chrono::seconds limit) {
        const auto deadline = Clock::now() + limit;
        while (!std::all_of(members_.begin(), members_.end(),
                            [](const Member& m) { return m.welcomed; })) {
            if (Clock::now() > deadline) {
                errno = 0;
                fail("members not signed in within the time limit");
            }
            poll(10);
        }
    }

    // Sends `rate` messages a second for `seconds`, then waits (bounded) for the deliveries.
    Step run(int rate, int stepIndex, double seconds, int expectedPerSend) {
        Step step;
        step.rate = rate;
        step.index = stepIndex;
        current_ = &step;
        const long total = std::lround(rate * seconds);
        step.latenciesNs.reserve(std::size_t(total) * std::size_t(expectedPerSend));
        const std::int64_t start = nowNs();
        step.firstSendNs = start;
        long next = 0;
        while (next < total) {
            const std::int64_t elapsed = nowNs() - start;
            const long due = std::min<long>(total, long(double(elapsed) * rate / 1e9) + 1);
            for (; next < due; ++next)
                sendOne(step, next);
            poll(1);
        }
        step.lastSendNs = nowNs();
        // Drain: at most 10 s for the last deliveries, so a saturated server ends the step too.
        const long expected = total * expectedPerSend;
        const std::int64_t drainLimit = nowNs() + 10'000'000'000;
        while (step.deliveries < expected && nowNs() < drainLimit)
            poll(5);
        // Anything of this step that still arrives later is ignored by the next one.
        current_ = nullptr;
        return step;
    }

private:
    void open(Member& m, int index, const std::string& token) {
        m.index = index;
        m.fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (m.fd < 0)
            fail("socket");
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(port_));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (::connect(m.fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0)
            fail("connect");
        const int one = 1;
        ::setsockopt(m.fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
        unsigned char nonce[16];
        for (auto& b : nonce)
            b = static_cast<unsigned char>(randomBits());
        m.out = "GET /ws HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port_) +
                "\r\nUpgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Key: " +
                base64(nonce, sizeof nonce) + "\r\nSec-WebSocket-Version: 13\r\n\r\n";
        m.token = token;
        epoll_event event{};
        event.events = EPOLLIN;
        event.data.u32 = static_cast<std::uint32_t>(index);
        if (epoll_ctl(epoll_, EPOLL_CTL_ADD, m.fd, &event) != 0)
            fail("epoll_ctl");
        flush(m);
    }

    void sendOne(Step& step, long n) {
        Member& m = members_[std::size_t(n) % members_.size()];
        const std::string text = "L" + std::to_string(step.index) + ":" + std::to_string(nowNs());
        const std::string frame = R"({"type":"send","id":"s)" + std::to_string(step.index) + "-" +
                                  std::to_string(n) + R"(","conversationID":")" + conversationID_ +
                                  R"(","text":")" + text + R"("})";
        queueFrame(m, 0x1, frame);
        flush(m);
        ++step.sent;
    }

    void flush(Member& m) {
        while (!m.out.empty()) {
            const ssize_t n = ::send(m.fd, m.out.data(), m.out.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
            if (n < 0) {
                if (errno == EAGAIN || errno == EWOULDBLOCK)
                    break;
                fail("send");
            }
            m.out.erase(0, std::size_t(n));
        }
        // Ask for EPOLLOUT only while output waits: a writable socket is nearly always ready, and
        // being told so on every wait would keep the generator spinning.
        const bool wantsWrite = !m.out.empty();
        if (wantsWrite != m.wantsWrite) {
            epoll_event event{};
            event.events = EPOLLIN | (wantsWrite ? EPOLLOUT : 0u);
            event.data.u32 = static_cast<std::uint32_t>(m.index);
            if (epoll_ctl(epoll_, EPOLL_CTL_MOD, m.fd, &event) != 0)
                fail("epoll_ctl");
            m.wantsWrite = wantsWrite;
        }
    }

    void poll(int timeoutMs) {
        epoll_event events[128];
        const int count = epoll_wait(epoll_, events, 128, timeoutMs);
        if (count < 0) {
            if (errno == EINTR)
                return;
            fail("epoll_wait");
        }
        for (int i = 0; i < count; ++i) {
            Member& m = members_[events[i].data.u32];
            if (events[i].events & EPOLLOUT)
                flush(m);
            if (events[i].events & (EPOLLIN | EPOLLHUP | EPOLLERR))
                readFrom(m);
        }
    }

    void readFrom(Member& m) {
        char buffer[65536];
        for (;;) {
            const ssize_t n = ::recv(m.fd, buffer, sizeof buffer, MSG_DONTWAIT);
            if (n > 0) {
                m.in.append(buffer, std::size_t(n));
                continue;
            }
            if (n == 0) {
                errno = 0;
                fail("member " + std::to_string(m.index) + ": the server closed the connection");
            }
            if (errno == EAGAIN || errno == EWOULDBLOCK)
                break;
            fail("recv");
        }
        parse(m);
    }

    void parse(Member& m) {
        std::size_t pos = 0;
        if (!m.upgraded) {
            const std::size_t end = m.in.find("\r\n\r\n");
            if (end == std::string::npos)
                return;
            if (m.in.compare(0, 12, "HTTP/1.1 101") != 0) {
                errno = 0;
                fail("upgrade refused: " + m.in.substr(0, m.in.find("\r\n")));
            }
            m.upgraded = true;
            pos = end + 4;
            queueFrame(
                m, 0x1,
                R"({"type":"resume","token":")" + m.token +
                    R"(","client":{"protocolVersion":3,"version":"1.0","build":1,"device":"carico"}})");
            flush(m);
        }
        const auto* bytes = reinterpret_cast<const unsigned char*>(m.in.data());
        for (;;) {
            if (m.in.size() - pos < 2)
                break;
            const unsigned char opcode = bytes[pos] & 0x0F;
            const bool fin = bytes[pos] & 0x80;
            std::uint64_t length = bytes[pos + 1] & 0x7F;
            std::size_t header = 2;
            if (length == 126) {
                if (m.in.size() - pos < 4)
                    break;
                length = (std::uint64_t(bytes[pos + 2]) << 8) | bytes[pos + 3];
                header = 4;
            } else if (length == 127) {
                if (m.in.size() - pos < 10)
                    break;
                length = 0;
                for (int k = 0; k < 8; ++k)
                    length = (length << 8) | bytes[pos + 2 + k];
                header = 10;
            }
            if (m.in.size() - pos - header < length)
                break;
            const std::string_view payload(m.in.data() + pos + header, std::size_t(length));
            pos += header + std::size_t(length);
            if (opcode == 0x9) {
                queueFrame(m, 0xA, payload);
                flush(m);
            } else if (opcode == 0x8) {
                errno = 0;
                fail("member " + std::to_string(m.index) + ": close frame from the server");
            } else if (opcode == 0x0 || opcode == 0x1 || opcode == 0x2) {
                if (!fin || !m.joined.empty()) {
                    m.joined.append(payload);
                    if (fin) {
                        onMessage(m, m.joined);
                        m.joined.clear();
                    }
                } else {
                    onMessage(m, payload);
                }
            }
        }
        m.in.erase(0, pos);
    }

    void onMessage(Member& m, std::string_view text) {
        if (!m.welcomed) {
            if (text.find(R"("type":"welcome")") != std::string_view::npos)
                m.welcomed = true;
            else if (text.find(R"("type":"error")") != std::string_view::npos) {
                errno = 0;
                fail("resume refused: " + std::string(text));
            }
            return;
        }
        if (!current_ || text.find(R"("type":"message")") == std::string_view::npos)
            return;
        const std::string marker = R"("text":"L)" + std::to_string(current_->index) + ":";
        const std::size_t at = text.find(marker);
        if (at == std::string_view::npos)
            return;
        const std::int64_t sentNs = std::strtoll(text.data() + at + marker.size(), nullptr, 10);
        const std::int64_t now = nowNs();
        current_->latenciesNs.push_back(now - sentNs);
        current_->lastReceiptNs = now;
        ++current_->deliveries;
    }

    int port_;
    std::string conversationID_;
    int epoll_ = -1;
    std::vector<Member> members_;
    Step* current_ = nullptr;
};

double ownCpuSeconds() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

double percentileMs(std::vector<std::int64_t>& values, double fraction) {
    if (values.empty())
        return 0;
    const std::size_t k =
        std::min(values.size() - 1, std::size_t(fraction * double(values.size() - 1) + 0.5));
    std::nth_element(values.begin(), values.begin() + std::ptrdiff_t(k), values.end());
    return double(values[k]) / 1e6;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 5) {
        std::fprintf(stderr, "usage: bench_broadcast_load PORT CONVERSATION_ID SECONDS RATE... "
                             "< tokens\n");
        return 2;
    }
    const int port = std::atoi(argv[1]);
    const std::string conversationID = argv[2];
    const double seconds = std::atof(argv[3]);
    std::vector<int> rates;
    for (int i = 4; i < argc; ++i)
        rates.push_back(std::atoi(argv[i]));
    std::vector<std::string> tokens;
    for (std::string line; std::getline(std::cin, line);) {
        if (!line.empty())
            tokens.push_back(line);
    }
    if (tokens.size() < 2 || port <= 0 || seconds <= 0 || seconds > 30) {
        std::fprintf(stderr, "bench_broadcast_load: need a port, 0 < seconds <= 30, two tokens\n");
        return 2;
    }

    Generator generator(port, conversationID, tokens);
    generator.waitReady(std::chrono::seconds(60));
    const int perSend = int(tokens.size()) - 1; // every member but the sender

    for (std::size_t i = 0; i < rates.size(); ++i) {
        std::printf("step %d\n", rates[i]);
        std::fflush(stdout);
        const double cpuBefore = ownCpuSeconds();
        Step step = generator.run(rates[i], int(i), seconds, perSend);
        const std::int64_t endNs = std::max(step.lastSendNs, step.lastReceiptNs);
        const double elapsed = double(endNs - step.firstSendNs) / 1e9;
        const long expected = step.sent * perSend;
        auto& lat = step.latenciesNs;
        const double maxMs =
            lat.empty() ? 0 : double(*std::max_element(lat.begin(), lat.end())) / 1e6;
        const double p50 = percentileMs(lat, 0.50);
        const double p99 = percentileMs(lat, 0.99);
        std::printf("result %d %ld %.3f %ld %.0f %.2f %.2f %.2f %ld %.3f\n", step.rate, step.sent,
                    elapsed, step.deliveries, elapsed > 0 ? double(step.deliveries) / elapsed : 0.0,
                    p50, p99, maxMs, expected - step.deliveries, ownCpuSeconds() - cpuBefore);
        std::fflush(stdout);
        // Past saturation: deliveries missing after the drain, or a p99 above one second.
        if (step.deliveries < expected || p99 > 1000)
            break;
    }
    return 0;
}
