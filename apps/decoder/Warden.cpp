#include "Warden.h"

#include <poll.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>

#include "Door.h"
#include "linux/codecs/isolation/Channel.h"

namespace tessaly::decoder {
namespace {

using namespace codecs;

constexpr std::chrono::milliseconds kIdle = std::chrono::seconds(30);

/// What a copy says when it takes an order; the order's own end for answers comes along.
struct News {
    bool hasOrder = true;
};

Descriptor endsOfCopies() {
    sigset_t signals;
    ::sigemptyset(&signals);
    ::sigaddset(&signals, SIGCHLD);
    ::sigprocmask(SIG_SETMASK, &signals, nullptr);
    return Descriptor(::signalfd(-1, &signals, SFD_CLOEXEC));
}

}  // namespace

Warden::Warden(Descriptor orders) : orders_(std::move(orders)), ends_(endsOfCopies()) {}

void Warden::serve(const FamilyDecoder& decoder, const Isolation& isolation) {
    if (!send(orders_.get(), isolation)) return;
    do {
        if (std::ranges::none_of(copies_, &Copy::isWaiting) && !prepare(decoder)) break;
    } while (wait());
    for (const Copy& copy : copies_) ::kill(copy.process, SIGKILL);
}

bool Warden::wait() {
    std::vector<pollfd> watched{{orders_.get(), 0, 0}, {ends_.get(), POLLIN, 0}};
    for (const Copy& copy : copies_) {
        if (copy.isWaiting())
            watched.push_back({copy.news.get(), POLLIN, 0});
        else
            watched.push_back({copy.isGivenUp ? -1 : copy.reply.get(), 0, 0});
    }
    const bool isIdle = std::ranges::all_of(copies_, &Copy::isWaiting);
    const int count = ::poll(watched.data(), watched.size(), isIdle ? static_cast<int>(kIdle.count()) : -1);
    if (count <= 0) return count < 0 && errno == EINTR;
    for (std::size_t i = 0; i < copies_.size(); ++i)
        if (watched[i + 2].revents != 0) hear(copies_[i], watched[i + 2].revents);
    if (watched[1].revents != 0 && !reap()) return false;
    return watched[0].revents == 0;
}

void Warden::hear(Copy& copy, short events) {
    if (!copy.isWaiting()) {
        // Whoever waited for the picture has it, or has given it up.
        ::kill(copy.process, SIGKILL);
        copy.isGivenUp = true;
        return;
    }
    News news;
    if ((events & POLLIN) == 0 || receive(copy.news.get(), news, std::span(&copy.reply, 1)) != Received::message)
        copy.isGivenUp = true;
    copy.news.close();
}

bool Warden::reap() {
    bool isGood = true;
    signalfd_siginfo ignored{};
    [[maybe_unused]] const ssize_t count = ::read(ends_.get(), &ignored, sizeof ignored);
    int status = 0;
    for (pid_t process = 0; (process = ::waitpid(-1, &status, WNOHANG)) > 0;) {
        const auto copy = std::ranges::find(copies_, process, &Copy::process);
        if (copy == copies_.end()) continue;
        // One that ended in a hurry may have told of its order all the same.
        if (copy->isWaiting()) hear(*copy, POLLIN);
        if (copy->reply) {
            Answer answer;
            answer.kind = Answer::Kind::ended;
            answer.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
            [[maybe_unused]] const bool isHeard = send(copy->reply.get(), answer);
        } else {
            isGood = false;
        }
        copies_.erase(copy);
    }
    return isGood;
}

bool Warden::prepare(const FamilyDecoder& decoder) {
    Channel channel = Channel::open();
    const pid_t self = ::getpid();
    const pid_t process = channel.one ? ::fork() : -1;
    if (process < 0) return false;
    if (process == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0);
        if (::getppid() != self) ::_exit(0);
        copies_.clear();
        ends_.close();
        channel.one.close();
        work(decoder, std::move(channel.other));
    }
    copies_.push_back({process, std::move(channel.one), {}});
    return true;
}

void Warden::work(const FamilyDecoder& decoder, Descriptor news) {
    shutDoorForCopy();
    Commission commission;
    std::array<Descriptor, 4> descriptors;
    if (receive(orders_.get(), commission.order, descriptors) != Received::message ||
        commission.order.version != kOrderVersion)
        ::_exit(1);
    commission.reply = std::move(descriptors[0]);
    commission.input = std::move(descriptors[1]);
    commission.memory = std::move(descriptors[2]);
    commission.file = std::move(descriptors[3]);
    orders_.close();
    const int reply = commission.reply.get();
    if (!send(news.get(), News{}, std::span(&reply, 1))) ::_exit(1);
    news.close();
    perform(decoder, commission);
    ::_exit(0);
}

}  // namespace tessaly::decoder
