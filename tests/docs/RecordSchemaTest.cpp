#include "Home.h"
#include "Page.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace korvane;

namespace {

/// What the validator says about each of these lines.
QStringList verdicts(const QByteArray& lines)
{
    QProcess validator;
    validator.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    validator.start(
        QStringLiteral(PYTHON), {QStringLiteral(TOOLS "/validate.py"), QStringLiteral(PAGE)});
    validator.write(lines);
    validator.closeWriteChannel();
    if (!validator.waitForFinished() || validator.exitCode() != 0)
        return {QStringLiteral("The validator failed.")};
    const QString said = QString::fromUtf8(validator.readAllStandardOutput());
    return said.split(u'\n', Qt::SkipEmptyParts);
}

/// Records and what the validator must say about them. It starts once for all, because that takes
/// a while.
class Cases {
public:
    void add(const QString& name, const QJsonObject& record, const QString& expected)
    {
        m_names << name;
        m_expected << expected;
        m_lines += QJsonDocument(record).toJson(QJsonDocument::Compact) + '\n';
    }

    /// Adds a row of test data for each.
    void addRows() const
    {
        QTest::addColumn<QString>("actual");
        QTest::addColumn<QString>("expected");
        const QStringList actual = verdicts(m_lines);
        for (qsizetype i = 0; i < m_names.size(); ++i)
            QTest::newRow(qPrintable(m_names[i])) << actual.value(i) << m_expected[i];
    }

private:
    QStringList m_names;
    QStringList m_expected;
    QByteArray m_lines;
};

QByteArray contents(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// The lines of all files in a folder.
QByteArray linesIn(const QString& folder)
{
    QByteArray lines;
    for (const QFileInfo& file : QDir(folder).entryInfoList(QDir::Files))
        lines += contents(file.filePath());
    return lines;
}

QJsonObject objectFrom(const char* json)
{
    return QJsonDocument::fromJson(json).object();
}

const QJsonObject message = objectFrom(
    R"({"attachmentCount":1,"body":"Hello","conversationID":"iMessage;-;+15550100","conversationName":"Ann","date":"2023-12-31T23:00:00.500Z","id":"mac:iMessage;-;+15550100:7","isOutgoing":false,"photoCount":2,"recordKind":"message","replyToID":"mac:iMessage;-;+15550100:3","sender":"Ann","senderID":"messages:handle:+15550100","textUnavailable":false})");
const QJsonObject reaction = objectFrom(
    R"({"attachmentCount":0,"body":"","conversationID":"iMessage;-;+15550100","conversationName":"Ann","date":"2023-12-31T23:00:00.500Z","id":"mac:iMessage;-;+15550100:8","isOutgoing":true,"photoCount":0,"reactionKind":"love","reactionTargetID":"mac:iMessage;-;+15550100:7","recordKind":"reaction","sender":"Me","senderID":"messages:self","textUnavailable":true})");

/// A record with some of its keys changed. A change to null removes the key.
QJsonObject changed(QJsonObject record, const char* changes)
{
    const QJsonObject by = objectFrom(changes);
    for (auto change = by.begin(); change != by.end(); ++change) {
        if (change->isNull())
            record.remove(change.key());
        else
            record[change.key()] = *change;
    }
    return record;
}

} // namespace

/// Holds docs/record.schema.json to what the program exports, with a validator of Python.
class RecordSchemaTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase()
    {
        const Outcome found = run(QStringLiteral(PYTHON),
            {QStringLiteral("-c"), QStringLiteral("from jsonschema import Draft202012Validator")});
        if (found.code != 0)
            QSKIP("Python has no module jsonschema here.");
    }

    void exportedRecordsAreValid()
    {
        const Home home(3, 2000);
        home.prepare("korvane-sync export --all\n");
        const QByteArray lines = linesIn(home.path() + QStringLiteral("/Documents/Quorvish"));
        QVERIFY(lines.count('\n') > 1900);
        QCOMPARE(verdicts(lines), QStringList(lines.count('\n'), QStringLiteral("valid")));
    }

    void goldenRecordsAreValid()
    {
        const QByteArray lines = linesIn(QStringLiteral(TOOLS "/../export/golden"));
        QVERIFY(lines.count('\n') > 30);
        QCOMPARE(verdicts(lines), QStringList(lines.count('\n'), QStringLiteral("valid")));
    }

    void variationsAreValid_data()
    {
        Cases cases;
        const auto add = [&cases](const char* name, const QJsonObject& record,
                             const char* changes = "{}") {
            cases.add(QString::fromLatin1(name), changed(record, changes), QStringLiteral("valid"));
        };
        add("message", message);
        add("reaction", reaction);
        add("removal", reaction, R"({"recordKind":"reaction-removal","reactionTargetID":null})");
        add("reaction of an unknown kind", reaction, R"({"reactionKind":null})");
        add("system line", message, R"({"recordKind":"system"})");
        add("from an old database", message,
            R"({"recordKind":null,"photoCount":null,"replyToID":null})");
        add("year before 0", message, R"({"date":"-0001-12-31T23:00:00.500Z"})");
        add("negative row id", message, R"({"id":"mac:x:-7"})");
        add("line feed in a guid", message, R"({"id":"mac:a\nb:7"})");
        add("blank text", message, R"({"body":" ","textUnavailable":true})");
        add("key of a later version", message, R"({"location":"here"})");
        cases.addRows();
    }

    void variationsAreValid() { compare(); }

    void brokenRecordsAreRejected_data()
    {
        Cases cases;
        const auto add = [&cases](const char* name, const QJsonObject& record, const char* changes,
                             const char* violation) {
            cases.add(QString::fromLatin1(name), changed(record, changes),
                QString::fromLatin1(violation));
        };
        for (const QString& key : requiredKeys())
            add(qPrintable(QStringLiteral("no ") + key), message,
                qPrintable(QStringLiteral("{\"%1\":null}").arg(key)), "$ required");
        add("two attachments", message, R"({"attachmentCount":2})", "$.attachmentCount enum");
        add("attachments as a boolean", message, R"({"attachmentCount":true})",
            "$.attachmentCount enum, $.attachmentCount type");
        add("body is a number", message, R"({"body":7})", "$.body type");
        add("date without milliseconds", message, R"({"date":"2023-12-31T23:00:00Z"})",
            "$.date pattern");
        add("date with an offset", message, R"({"date":"2023-12-31T23:00:00.500+01:00"})",
            "$.date pattern");
        add("month 13", message, R"({"date":"2023-13-31T23:00:00.500Z"})", "$.date pattern");
        add("second 60", message, R"({"date":"2023-12-31T23:00:60.500Z"})", "$.date pattern");
        add("text before a date", message, R"({"date":"on 2023-12-31T23:00:00.500Z"})",
            "$.date pattern");
        add("id of something else", message, R"({"id":"pc:x:7"})", "$.id pattern");
        add("id without a row id", message, R"({"id":"mac:x:"})", "$.id pattern");
        add("row id with leading zeros", message, R"({"id":"mac:x:07"})", "$.id pattern");
        add("isOutgoing as a text", message, R"({"isOutgoing":"false"})", "$.isOutgoing type");
        add("negative count", message, R"({"photoCount":-1})", "$.photoCount minimum");
        add("unknown kind", message, R"({"recordKind":"poll"})", "$.recordKind enum");
        add("unknown kind of reaction", reaction, R"({"reactionKind":"cry"})",
            "$.reactionKind enum");
        add("reply to a bare row id", message, R"({"replyToID":"3"})", "$.replyToID pattern");
        add("message with a kind of reaction", message, R"({"reactionKind":"love"})",
            "$.reactionKind false");
        add("message with a reaction's target", message, R"({"reactionTargetID":"mac:x:7"})",
            "$.reactionTargetID false");
        add("reaction without recordKind", reaction, R"({"recordKind":null})",
            "$.reactionKind false, $.reactionTargetID false");
        add("reaction as a reply", reaction, R"({"replyToID":"mac:x:7"})", "$.replyToID false");
        add("sender without a prefix", message, R"({"senderID":"+15550100"})",
            "$.senderID pattern");
        add("text after self", message, R"({"senderID":"messages:selfish"})", "$.senderID pattern");
        add("self in somebody's message", message, R"({"senderID":"messages:self"})",
            "$.senderID not");
        add("a handle in one's own message", message, R"({"isOutgoing":true})",
            "$.sender const, $.senderID const");
        add("one's own message without senderID", reaction, R"({"senderID":null})", "$ required");
        add("no text, and it is not said", reaction, R"({"textUnavailable":false})",
            "$.textUnavailable const");
        cases.addRows();
    }

    void brokenRecordsAreRejected() { compare(); }

    void onlyObjectsAreRecords()
    {
        QCOMPARE(verdicts("[]\n\"text\"\nnull\n"), QStringList(3, QStringLiteral("$ type")));
    }

    void nullIsNoValue()
    {
        const QStringList keys = schema()[QStringLiteral("properties")].toObject().keys();
        QByteArray lines;
        for (const QString& key : keys) {
            QJsonObject record = key.startsWith(QStringLiteral("reaction")) ? reaction : message;
            record[key] = QJsonValue();
            lines += QJsonDocument(record).toJson(QJsonDocument::Compact) + '\n';
        }
        const QStringList found = verdicts(lines);
        for (qsizetype i = 0; i < keys.size(); ++i)
            QVERIFY2(found.value(i).contains(QStringLiteral("$.") + keys[i]), qPrintable(keys[i]));
    }

    void keysAreThoseOfTheFormat()
    {
        static const QRegularExpression row(
            QStringLiteral("^\\| `(\\w+)` \\| \\w+(, optional)? \\|"),
            QRegularExpression::MultilineOption);
        const QString format = textOfPage(QStringLiteral(TOOLS "/../../docs/export-format.md"));
        const QString section = format.section(QStringLiteral("\n## "), 3, 3);
        QStringList keys;
        QStringList required;
        for (auto found = row.globalMatch(section); found.hasNext();) {
            const QRegularExpressionMatch key = found.next();
            keys << key.captured(1);
            if (key.captured(2).isEmpty())
                required << key.captured(1);
        }
        QCOMPARE(keys.size(), 15);
        QCOMPARE(schema()[QStringLiteral("properties")].toObject().keys(), keys);
        QCOMPARE(requiredKeys(), required);
    }

private:
    static void compare()
    {
        QFETCH(const QString, actual);
        QFETCH(const QString, expected);
        QCOMPARE(actual, expected);
    }

    static QJsonObject schema() { return objectFrom(contents(QStringLiteral(PAGE)).constData()); }

    static QStringList requiredKeys()
    {
        return schema()[QStringLiteral("required")].toVariant().toStringList();
    }
};

QTEST_GUILESS_MAIN(RecordSchemaTest)
#include "RecordSchemaTest.moc"
