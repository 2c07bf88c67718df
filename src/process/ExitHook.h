#pragma once

#include <functional>

namespace korvane {

/// While it lives, exit() first calls a function, with all other threads still running and nothing
/// torn down. This is for libraries that call exit() themselves: Qt does so when it loses its
/// display. The function runs on the thread that called exit(). At most one object at a time.
class ExitHook {
public:
    explicit ExitHook(std::function<void()> beforeExit);
    ~ExitHook();
    ExitHook(const ExitHook&) = delete;
    ExitHook& operator=(const ExitHook&) = delete;

    /// Calls the function, as exit() would. Does nothing while there is no ExitHook.
    static void run();
};

} // namespace korvane
