// A TCP relay that holds every chunk it forwards for a fixed delay, in order, each way: a share
// on loopback made as slow as one across a network. Usage: relay LISTEN_PORT TARGET_PORT DELAY_MS
// (DELAY_MS may have a fraction). It serves connections until it is killed.
#include <arpa/inet.h>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <mutex>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

struct Chunk {
    Clock::time_point due;
    std::string bytes;
};

// One direction: what is read from `from` is written to `to` once its delay has passed.
void Forward(int from, int to, Clock::duration delay) {
    std::mutex mutex;
    std::condition_variable ready;
    std::deque<Chunk> queue;
    bool ended = false;
    std::thread writer([&] {
        for (;;) {
            Chunk chunk;
            {
                std::unique_lock lock(mutex);
                ready.wait(lock, [&] { return ended || !queue.empty(); });
                if (queue.empty()) {
                    break;
                }
                chunk = std::move(queue.front());
                queue.pop_front();
            }
            std::this_thread::sleep_until(chunk.due);
            for (size_t done = 0; done < chunk.bytes.size();) {
                const ssize_t n = write(to, chunk.bytes.data() + done, chunk.bytes.size() - done);
                if (n <= 0) {
                    shutdown(from, SHUT_RD);
                    return;
                }
                done += static_cast<size_t>(n);
            }
        }
        shutdown(to, SHUT_WR);
    });
    char buffer[256 * 1024];
    for (;;) {
        const ssize_t n = read(from, buffer, sizeof buffer);
        if (n <= 0) {
            break;
        }
        const std::lock_guard lock(mutex);
        queue.push_back({Clock::now() + delay, std::string(buffer, static_cast<size_t>(n))});
        ready.notify_one();
    }
    {
        const std::lock_guard lock(mutex);
        ended = true;
        ready.notify_one();
    }
    writer.join();
}

int Connect(int port) {
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        close(fd);
        return -1;
    }
    return fd;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: relay LISTEN_PORT TARGET_PORT DELAY_MS\n");
        return 2;
    }
    const int target = std::atoi(argv[2]);
    const auto delay = std::chrono::duration_cast<Clock::duration>(
        std::chrono::duration<double, std::milli>(std::atof(argv[3])));
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const int on = 1;
    setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(std::atoi(argv[1])));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        listen(listener, 16) != 0) {
        std::perror("relay");
        return 1;
    }
    for (;;) {
        const int client = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (client < 0) {
            continue;
        }
        const int server = Connect(target);
        if (server < 0) {
            close(client);
            continue;
        }
        for (const int fd : {client, server}) {
            setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        }
        std::thread([client, server, delay] {
            std::thread back([client, server, delay] { Forward(server, client, delay); });
            Forward(client, server, delay);
            back.join();
            close(client);
            close(server);
        }).detach();
    }
}
