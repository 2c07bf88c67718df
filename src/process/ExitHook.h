#pragma once

#include <functional>

namespace korvane {

/// While it lives, exit() calls `beforeExit` on the thread that called exit(). At that point, all
/// other threads still run, and no static object that was constructed before the process's first
/// ExitHook has been destroyed. For libraries that call exit() themselves, as Qt does when it loses
/// its display. At most one object at a time.
class ExitHook {
public:
    explicit ExitHook(std::function<void()> beforeExit);
    ~ExitHook();
    ExitHook(const ExitHook&) = delete;
    ExitHook& operator=(const ExitHook&) = delete;

    /// Calls `beforeExit`, as exit() would. Does nothing while there is no ExitHook.
    static void run();
};

} // namespace korvane
