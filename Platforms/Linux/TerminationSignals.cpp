#include "Platforms/Linux/TerminationSignals.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <utility>

namespace Linux {

namespace {

std::array<int, 2> signalPipe{-1, -1}; // what a handler may touch

constexpr std::array<int, 4> signals{SIGTERM, SIGINT, SIGHUP, SIGUSR1};

void handle(int number) {
    const int saved = errno;
    const auto byte = static_cast<char>(number);
    static_cast<void>(!write(signalPipe[1], &byte, 1)); // a full pipe has told enough already
    errno = saved;
}

void setHandler(void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (const int number : signals) {
        sigaction(number, &action, nullptr);
    }
}

void maskComeForward(int how) {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGUSR1);
    pthread_sigmask(how, &set, nullptr);
}

} // namespace

void TerminationSignals::holdComeForward() {
    maskComeForward(SIG_BLOCK);
}

TerminationSignals::TerminationSignals(std::function<void()> terminate, std::function<void()> comeForward)
    : terminate_(std::move(terminate))
    , comeForward_(std::move(comeForward)) {
    if (pipe2(signalPipe.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        return; // the signals then end the process at once, as they do by default
    }
    notifier_ = std::make_unique<QSocketNotifier>(signalPipe[0], QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(), [this] { arrived(); });
    setHandler(handle);
    maskComeForward(SIG_UNBLOCK);
}

TerminationSignals::~TerminationSignals() {
    if (notifier_) {
        setHandler(SIG_DFL);
        std::signal(SIGUSR1, SIG_IGN); // a request that comes too late is no reason to die on the way out
        notifier_.reset();
        close(signalPipe[0]);
        close(signalPipe[1]);
        signalPipe = {-1, -1};
    }
}

void TerminationSignals::arrived() {
    char number = 0;
    while (read(signalPipe[0], &number, 1) == 1) {
        if (number == SIGUSR1) {
            comeForward_();
        } else {
            terminate_();
        }
    }
}

} // namespace Linux
