#pragma once

// What <QtTest/QTest> and the tests include, compiled once. QtTest's own headers are not among it:
// they look at macros that differ between tests, and one precompiled header serves all of them.
#include <QAbstractItemModel>
#include <QByteArray>
#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QRect>
#include <QStandardPaths>
#include <QString>
#include <QTemporaryDir>
#include <QThread>
#include <QUrl>
#include <QUuid>
#include <QVariant>
#include <QtCore/qbitarray.h>
#include <QtCore/qcborarray.h>
#include <QtCore/qcbormap.h>
#include <QtCore/qcborvalue.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>
