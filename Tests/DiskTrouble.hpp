#pragma once

#include <sys/fsuid.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>

/// While it lives, file permissions bind this thread even when the tests run as root.
class Unprivileged {
public:
    Unprivileged() { become(::geteuid() == 0 ? nobody : ::geteuid()); }
    Unprivileged(const Unprivileged&) = delete;
    Unprivileged& operator=(const Unprivileged&) = delete;
    ~Unprivileged() { become(::geteuid()); }

private:
    static constexpr uid_t nobody = 65534;
    static void become(uid_t user) { ::setfsuid(user); }
};

/// While it lives, no file may grow past `bytes`: to a writer, a full disk.
class FullDisk {
public:
    explicit FullDisk(rlim_t bytes)
        : oldHandler_(std::signal(SIGXFSZ, SIG_IGN)) {
        ::getrlimit(RLIMIT_FSIZE, &old_);
        const rlimit limit{bytes, old_.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;
    ~FullDisk() {
        ::setrlimit(RLIMIT_FSIZE, &old_);
        std::signal(SIGXFSZ, oldHandler_);
    }

private:
    void (*oldHandler_)(int);
    rlimit old_{};
};
