#include "process/ExitHook.h"

#include <cstdlib>
#include <utility>

namespace korvane {

namespace {

std::function<void()> hook; // a global, because std::atexit() takes a plain function

} // namespace

ExitHook::ExitHook(std::function<void()> beforeExit)
{
    hook = std::move(beforeExit);
    // atexit() handlers and static destructors run in reverse order of registration, so this one
    // runs before all that were registered until now.
    [[maybe_unused]] static const int registered = std::atexit(ExitHook::run);
}

ExitHook::~ExitHook()
{
    hook = nullptr;
}

void ExitHook::run()
{
    if (hook)
        hook();
}

} // namespace korvane
