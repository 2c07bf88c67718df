#include "process/ExitHook.h"

#include <cstdlib>
#include <utility>

namespace korvane {

namespace {

std::function<void()> hook; // std::atexit() takes a plain function

} // namespace

ExitHook::ExitHook(std::function<void()> beforeExit)
{
    hook = std::move(beforeExit);
    // Handlers run in the reverse order of their registration: before what was set up until now.
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
