// Measures the window program relative to a bare program with a window in the same run. Linux only.
// Needs an X server (xvfb-run starts one) for the start and the rest: on the "offscreen" platform
// Qt loads no font for an empty window, so any text would seem expensive. Arguments:
//   --quick        fewer chats and no wait for the automatic export; limits are not enforced
//   --rounds N     number of rounds, of which the median counts
// Each program runs in a process of its own with a temporary home folder.

#include "Arguments.h"
#include "Child.h"
#include "FirstPaint.h"
#include "Program.h"
#include "Typing.h"
#include "WakeUps.h"
#include "WindowScene.h"

#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <thread>

using namespace korvane;

namespace {

using Seconds = std::chrono::seconds;

const std::vector<std::string> realWindow{KORVANE_SYNC_APP};
const std::vector<std::string> bareWindow{KORVANE_BARE_WINDOW};
const std::vector<std::string> bareField{KORVANE_BARE_WINDOW, "--field"};

constexpr const char* onDisplay = "xcb";
constexpr const char* onNothing = "offscreen";

void enter(const WindowScene& scene, const char* platform)
{
    scene.enter();
    ::setenv("QT_QPA_PLATFORM", platform, 1);
}

// The start.

bool measureStart(const WindowScene& scene, int rounds)
{
    const auto start = [&](const std::vector<std::string>& words, const char* wanted) {
        return [&scene, words, wanted] {
            enter(scene, onDisplay);
            return secondsToPaint(words, wanted);
        };
    };
    const auto costs
        = medians({start(bareWindow, FirstPaint::window), start(bareField, FirstPaint::window),
                      start(realWindow, FirstPaint::window), start(realWindow, FirstPaint::list)},
            rounds);
    const Cost& bare = costs[0];
    const auto times = [&](std::size_t i) { return costs[i].seconds / bare.seconds; };
    std::cout << "start: bare window painted after " << bare.seconds * 1000 << " ms, "
              << bare.peakBytes / 1'000'000 << " MB; with a text field, " << times(1)
              << " times that; the real one with its list of chats, " << times(3) << " times\n";
    const bool quick = report("  first painted window / bare window", times(2), 1.5);
    const double memory
        = static_cast<double>(costs[3].peakBytes) / static_cast<double>(bare.peakBytes);
    return report("  peak memory with the list / bare window", memory, 1.5) && quick;
}

// The search.

std::vector<double> keystrokes(const WindowScene& scene, int chats)
{
    enter(scene, onNothing);
    std::vector<double> seconds = secondsOfKeystrokes(chats);
    std::sort(seconds.begin(), seconds.end());
    return seconds;
}

double medianKeystroke(const WindowScene& scene, int chats)
{
    const std::vector<double> seconds = keystrokes(scene, chats);
    return seconds[seconds.size() / 2];
}

bool measureSearch(const WindowScene& scene, int chats, int rounds)
{
    const auto costs = medians({[&] { return medianKeystroke(scene, chats); },
                                   [&] { return keystrokes(scene, chats).back(); }},
        rounds);
    std::cout << "search in " << chats << " chats: slowest keystroke " << costs[1].seconds * 1000
              << " ms\n";
    return report("  keystroke to repainted list, median", costs[0].seconds * 1000, 16, "ms");
}

// The pictures.

double secondsOfRun(const WindowScene& scene, const std::vector<std::string>& words)
{
    enter(scene, onNothing);
    return secondsOf([&] { Program(words).wait(); });
}

bool measurePictures(const WindowScene& scene, int rounds)
{
    const std::string folder = scene.home + "/pictures";
    std::filesystem::create_directories(folder);
    const auto costs
        = medians({[&] {
                       return secondsOfRun(scene, {KORVANE_BARE_SNAPSHOTS, folder});
                   },
                      [&] {
                          return secondsOfRun(scene, {KORVANE_SYNC_APP, "--snapshot", folder});
                      }},
            rounds);
    std::cout << "three pictures: bare program " << costs[0].seconds * 1000 << " ms\n";
    return report("  snapshots / bare pictures", costs[1].seconds / costs[0].seconds, 2);
}

// At rest.

struct Rest {
    Seconds before; ///< settling time after the start
    Seconds length;
};

constexpr Rest afterFirstPass{Seconds(35), Seconds(20)}; // automatic exports run every 30 s

double wakeUpsAtRest(const std::vector<std::string>& words, const Rest& rest)
{
    const Program program(words);
    std::this_thread::sleep_for(rest.before);
    const Sleeps before = sleepsOf(program);
    std::this_thread::sleep_for(rest.length);
    return static_cast<double>(wakeUps(before, sleepsOf(program)));
}

/// Runs one program after the other, because only one window on a display can have the focus and
/// with it a blinking cursor. The limit allows for one blink more or less within the period, which
/// wakes the program, its connection to the display and its painting.
bool measureRest(const WindowScene& scene, const Rest& rest)
{
    const auto woken = [&](const std::vector<std::string>& words) {
        return inChild([&] {
            enter(scene, onDisplay);
            return wakeUpsAtRest(words, rest);
        }).seconds; // in fact the count: inChild() passes on any figure
    };
    std::filesystem::remove_all(scene.exportFolder());
    const double real = woken(realWindow);
    if (rest.before >= afterFirstPass.before && !std::filesystem::exists(scene.exportFolder()))
        throw std::runtime_error("the selected chat was not exported by itself");
    const double bare = woken(bareField);
    std::cout << "wake-ups in " << rest.length.count() << " s of rest " << real
              << ", of a bare window with a blinking cursor " << bare << '\n';
    return report("  wake-ups beyond those", real - bare, 3, "");
}

// Automatic exports with nothing new.

constexpr Rest afterSecondPass{Seconds(85), Seconds(100)}; // the first one exports everything

double processorSecondsOf(const Program& program)
{
    clockid_t clock = 0;
    timespec time{};
    if (::clock_getcpuclockid(program.id(), &clock) != 0 || ::clock_gettime(clock, &time) != 0)
        throw std::runtime_error("the processor time of the window is unknown");
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

double processorSecondsAtRest(const std::vector<std::string>& words, const Rest& rest)
{
    const Program program(words);
    std::this_thread::sleep_for(rest.before);
    const double before = processorSecondsOf(program);
    std::this_thread::sleep_for(rest.length);
    return processorSecondsOf(program) - before;
}

bool measurePasses(const WindowScene& scene, const Rest& rest)
{
    const auto used = [&](const std::vector<std::string>& words, const Rest& during) {
        return inChild([&] {
            enter(scene, onDisplay);
            return processorSecondsAtRest(words, during);
        }).seconds;
    };
    const double bare = used(bareField, {Seconds(3), rest.length});
    std::cout << "all chats selected, nothing new: a bare window with a blinking cursor used "
              << bare << " s of processor time in " << rest.length.count() << " s\n";
    return report("  processor time of the real one", used(realWindow, rest), 0.3, "s");
}

} // namespace

int main(int argc, char* argv[])
{
    if (!std::getenv("DISPLAY")) {
        std::cerr << "There is no display to measure windows on; xvfb-run gives one.\n";
        return EXIT_FAILURE;
    }
    const Arguments arguments(argc, argv);
    const bool quick = arguments.has("--quick");
    const int rounds = std::stoi(arguments.value("--rounds", quick ? "3" : "15"));
    const QTemporaryDir temporary;
    const std::string folder = temporary.path().toStdString();
    const WindowScene scene
        = WindowScene::prepared(folder + "/home", quick ? 5'000 : 30'000, 300, 1);
    const WindowScene large
        = WindowScene::prepared(folder + "/large", quick ? 5'000 : 1'000'000, 300, 300);
    const Rest rest = quick ? Rest{Seconds(3), Seconds(4)} : afterFirstPass;
    bool good = measureSearch(scene, quick ? 1'000 : 10'000, quick ? 1 : 5);
    good = measurePictures(scene, rounds) && good;
    good = measureStart(scene, rounds) && good;
    good = measureRest(scene, rest) && good;
    good = measurePasses(large, quick ? rest : afterSecondPass) && good;
    return good || quick ? 0 : 1; // a small sample proves nothing about speed
}
