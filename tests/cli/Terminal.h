#pragma once

#include <QJsonDocument>
#include <QTemporaryDir>

#include <string>
#include <vector>

namespace korvane {

/// What a run of the program printed, and its exit code.
struct Outcome {
    int code = -1;
    std::string out;
    std::string err;

    QJsonDocument json() const { return QJsonDocument::fromJson(QByteArray::fromStdString(out)); }
};

/// A user at a terminal: runs `korvane-sync` with a home and a support folder of his own.
class Terminal {
public:
    Terminal();
    ~Terminal();

    /// Runs the command line within this process; `input` is what it may read.
    Outcome run(const std::vector<std::string>& arguments, const std::string& input = "") const;

    std::string home() const { return m_home.path().toStdString(); }
    std::string support() const { return home() + "/support"; }
    std::string exports() const { return home() + "/exports"; }

private:
    QTemporaryDir m_home;
};

/// The names of the files in a folder, sorted.
std::vector<std::string> filesIn(const std::string& folder);

std::string contentsOf(const std::string& file);

} // namespace korvane
