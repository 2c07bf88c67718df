#include "crash/LoggedRun.h"

#include <QProcess>

namespace korvane {

namespace fs = std::filesystem;

namespace {

const char* nameOf(Trouble::Kind kind)
{
    switch (kind) {
    case Trouble::Kind::None:
        return "";
    case Trouble::Kind::KilledBefore:
        return "before";
    case Trouble::Kind::KilledInTheMiddle:
        return "middle";
    case Trouble::Kind::Error:
        return "error";
    case Trouble::Kind::FullDisk:
        return "full";
    }
    return "";
}

} // namespace

LoggedRun runLogged(
    const std::vector<std::string>& arguments, const LoggedProgram& program, const Trouble& trouble)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    const auto set = [&environment](const char* name, const std::string& value) {
        environment.insert(QString::fromUtf8(name), QString::fromStdString(value));
    };
    set("LD_PRELOAD", CRASH_POINTS);
    set("KORVANE_CRASH_FOLDERS", program.exports.native() + ':' + program.support.native());
    set("KORVANE_CRASH_LOG", program.log);
    set("KORVANE_CRASH_AT", std::to_string(trouble.change));
    set("KORVANE_CRASH_HOW", nameOf(trouble.kind));
    set("KORVANE_CRASH_CLOCK", std::to_string(trouble.secondsPerLook));
    set("KORVANE_SYNC_HOME", program.support);
    set("ASAN_OPTIONS", "verify_asan_link_order=0"); // the sanitizer wants to be loaded first
    QStringList list;
    for (const std::string& argument : arguments)
        list << QString::fromStdString(argument);

    fs::remove(program.log);
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QStringLiteral(PROGRAM), list);
    process.waitForFinished();
    return {changesIn(program.log), process.exitStatus() == QProcess::CrashExit,
        process.readAll().toStdString()};
}

} // namespace korvane
