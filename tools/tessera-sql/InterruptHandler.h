#pragma once
// Ctrl-C while a statement runs: the statement is cancelled through
// Engine::cancelQuery (SQLite stops it with "interrupted") and the shell
// goes on; every opened table stays. A signal handler may do almost nothing,
// so it only raises a flag, and a watcher thread passes the request on to the
// engine, which may be cancelled from any thread.

#include <functional>
#include <memory>

namespace tessera::shell {

class InterruptHandler {
public:
    // Catches SIGINT for as long as the object lives (one at a time) and
    // calls `cancel` (Shell::cancelQuery) from the watcher thread.
    explicit InterruptHandler(std::function<void()> cancel);
    ~InterruptHandler();
    InterruptHandler(const InterruptHandler&) = delete;
    InterruptHandler& operator=(const InterruptHandler&) = delete;

    // Whether Ctrl-C came since the last call; clears the flag.
    bool takeInterrupt();

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace tessera::shell
