#include "tools/tessera-sql/InterruptHandler.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <mutex>
#include <thread>

#ifndef _WIN32
#include <signal.h>
#endif

namespace tessera::shell {

namespace {

// Written by the signal handler, so lock-free and of static duration.
std::atomic<int> pendingInterrupts{0};
static_assert(std::atomic<int>::is_always_lock_free, "the signal handler needs a lock-free flag");

extern "C" void onInterrupt(int)
{
    pendingInterrupts.fetch_add(1);
#ifdef _WIN32
    // Windows resets the handler on delivery.
    std::signal(SIGINT, &onInterrupt);
#endif
}

#ifdef _WIN32
using Previous = void (*)(int);
Previous install() { return std::signal(SIGINT, &onInterrupt); }
void restore(Previous previous) { std::signal(SIGINT, previous); }
#else
// Without SA_RESTART: a terminal read waiting at the prompt returns, so that
// Ctrl-C there gives a fresh prompt at once.
using Previous = struct sigaction;
Previous install()
{
    struct sigaction action {};
    action.sa_handler = &onInterrupt;
    sigemptyset(&action.sa_mask);
    action.sa_flags = 0;
    Previous previous{};
    sigaction(SIGINT, &action, &previous);
    return previous;
}
void restore(const Previous& previous) { sigaction(SIGINT, &previous, nullptr); }
#endif

} // namespace

struct InterruptHandler::Private {
    std::function<void()> cancel;
    // The watcher sleeps on `wake` between looks, so that the destructor
    // need not wait out a sleep (a short run would end up to 20 ms later).
    std::mutex lock;
    std::condition_variable wake;
    bool stop = false;   // guarded by lock
    std::atomic<bool> interrupted{false};
    // The count of interrupts handled; each new one is taken once, by the
    // watcher or by takeInterrupt, whichever comes first.
    std::atomic<int> seen{0};
    std::thread watcher;
    Previous previous{};
};

InterruptHandler::InterruptHandler(std::function<void()> cancel)
    : d(std::make_unique<Private>())
{
    d->cancel = std::move(cancel);
    d->seen = pendingInterrupts.load();
    d->previous = install();
    d->watcher = std::thread([p = d.get()] {
        std::unique_lock<std::mutex> guard(p->lock);
        while (!p->stop) {
            const int now = pendingInterrupts.load();
            if (p->seen.exchange(now) != now) {
                p->interrupted = true;
                guard.unlock();
                p->cancel();
                guard.lock();
            }
            p->wake.wait_for(guard, std::chrono::milliseconds(20), [p] { return p->stop; });
        }
    });
}

InterruptHandler::~InterruptHandler()
{
    {
        const std::lock_guard<std::mutex> guard(d->lock);
        d->stop = true;
    }
    d->wake.notify_one();
    d->watcher.join();
    restore(d->previous);
}

bool InterruptHandler::takeInterrupt()
{
    // A Ctrl-C the watcher has not looked at yet counts too.
    const int now = pendingInterrupts.load();
    const bool unseen = d->seen.exchange(now) != now;
    return d->interrupted.exchange(false) || unseen;
}

} // namespace tessera::shell
