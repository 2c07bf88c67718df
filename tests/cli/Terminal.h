#pragma once

#include "storage/Paths.h"

#include <QJsonDocument>
#include <QTemporaryDir>

#include <string>
#include <vector>

namespace korvane {

/// The output and the exit code of one run of the program.
struct Outcome {
    int code = -1;
    std::string out;
    std::string err;

    QJsonDocument json() const { return QJsonDocument::fromJson(QByteArray::fromStdString(out)); }
};

/// A user at a terminal. Runs `korvane-sync` with a temporary home and support folder.
class Terminal {
public:
    Terminal();
    ~Terminal();

    /// Runs the command line in this process; `input` is its standard input.
    Outcome run(const std::vector<std::string>& arguments, const std::string& input = "") const;
    Outcome run(const std::vector<std::string>& arguments, const std::string& input,
        const SupportFolder& support) const;

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
