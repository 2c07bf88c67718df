#include "WindowSetup.h"

#include "app/Snapshot.h"

#include <QAccessible>
#include <QtTest/QTest>

using namespace korvane;

/// What the window tells a screen reader, through QAccessible.
class AccessibilityTest : public WindowTest {
    Q_OBJECT

private slots:
    void everyControlHasANameAndARole_data()
    {
        QTest::addColumn<QString>("state");
        QTest::addColumn<QString>("control");
        QTest::addColumn<int>("role");
        QTest::addColumn<QString>("name");
        row("list", "search", QAccessible::EditableText, "Find a chat");
        row("list", "chats", QAccessible::List, "Chats");
        row("list", "create", QAccessible::Button, "Create Korvane QR");
        row("list", "change", QAccessible::Button, "Change");
        row("list", "autoSync", QAccessible::CheckBox, "Keep the export fresh every 30 seconds");
        row("list", "syncNow", QAccessible::Button, "Sync now");
        row("list", "quit", QAccessible::Button, "Quit");
        row("code", "done", QAccessible::Button, "Done");
        row("access", "openSettings", QAccessible::Button, "Open System Settings");
        row("access", "tryAgain", QAccessible::Button, "Try again");
    }

    void everyControlHasANameAndARole()
    {
        QFETCH(QString, state);
        QFETCH(QString, control);
        QFETCH(int, role);
        QFETCH(QString, name);
        AppState app(previewNamed(state));
        ContentView window(app);
        window.show();
        QAccessibleInterface& told = interfaceOf(child(window, control.toLatin1()));
        QCOMPARE(told.role(), static_cast<QAccessible::Role>(role));
        QCOMPARE(told.text(QAccessible::Name), name);
        QVERIFY(told.state().focusable);
        QVERIFY(!told.state().invisible);
    }

    void textsAreRead_data()
    {
        QTest::addColumn<QString>("state");
        QTest::addColumn<QString>("text");
        QTest::newRow("subtitle") << QStringLiteral("list")
                                  << QStringLiteral("Pick one chat, send it to your iPhone.");
        QTest::newRow("folder") << QStringLiteral("list") << QStringLiteral("~/Documents/Quorvish");
        QTest::newRow("status") << QStringLiteral("list")
                                << QStringLiteral("Last export 2 minutes ago.");
        QTest::newRow("title of the chat")
            << QStringLiteral("code") << QStringLiteral("The Weekend People");
        QTest::newRow("code") << QStringLiteral("code")
                              << QStringLiteral("QR code with the link to this chat");
        QTest::newRow("heading of the access card")
            << QStringLiteral("access") << QStringLiteral("Full Disk Access");
    }

    void textsAreRead()
    {
        QFETCH(QString, state);
        QFETCH(QString, text);
        AppState app(previewNamed(state));
        ContentView window(app);
        window.show();
        QVERIFY(namesIn(interfaceOf(window)).contains(text));
    }

    /// Screen readers skip widgets that have no role.
    void textsHaveTheRoleOfTexts_data()
    {
        QTest::addColumn<QString>("control");
        QTest::addColumn<int>("role");
        QTest::newRow("folder") << QStringLiteral("folder") << int{QAccessible::StaticText};
        QTest::newRow("status") << QStringLiteral("status") << int{QAccessible::StaticText};
        QTest::newRow("title of the chat")
            << QStringLiteral("transferTitle") << int{QAccessible::StaticText};
        QTest::newRow("code") << QStringLiteral("code") << int{QAccessible::Graphic};
    }

    void textsHaveTheRoleOfTexts()
    {
        QFETCH(QString, control);
        QFETCH(int, role);
        AppState state(PreviewStates::qr());
        ContentView window(state);
        window.show();
        QCOMPARE(interfaceOf(child(window, control.toLatin1())).role(),
            static_cast<QAccessible::Role>(role));
    }

    void rowsSayWhatTheyAreAndWhetherTheyAreChecked()
    {
        AppState state(PreviewStates::list());
        ContentView window(state);
        window.show();
        QAccessibleInterface& list = interfaceOf(child(window, "chats"));
        QCOMPARE(list.childCount(), 7);
        for (int i = 0; i < list.childCount(); ++i) {
            QAccessibleInterface& row = *list.child(i);
            QCOMPARE(row.role(), QAccessible::ListItem);
            QVERIFY(row.state().checkable);
            QCOMPARE(bool(row.state().checked), i == 0);
            QCOMPARE(row.text(QAccessible::Description),
                i == 0 ? QString() : QStringLiteral("not selected"));
            const auto& chat = state.chats()[static_cast<std::size_t>(i)];
            const QString text = row.text(QAccessible::Name);
            QVERIFY(text.startsWith(
                QString::fromStdString(state.titles().at(chat.id)) + QStringLiteral(", ")));
            QVERIFY(text.contains(QStringLiteral(" messages, last ")));
        }
    }

    void groupIsSaidToBeOne()
    {
        AppState::Preview preview = previewOf(2);
        preview.titles = {{1, "Same"}, {2, "Same"}};
        preview.chats[0].isGroup = true;
        AppState state(preview);
        ContentView window(state);
        window.show();
        QAccessibleInterface& list = interfaceOf(child(window, "chats"));
        QVERIFY(list.child(0)->text(QAccessible::Name) != list.child(1)->text(QAccessible::Name));
    }

    void checkedStateFollowsTheSelection()
    {
        AppState state(previewOf(2));
        ContentView window(state);
        window.show();
        QAccessibleInterface& list = interfaceOf(child(window, "chats"));
        QVERIFY(!list.child(1)->state().checked);
        state.toggle(WindowSetup::guid(2));
        QVERIFY(list.child(1)->state().checked);
    }

    void windowHasARoleAndAName()
    {
        AppState state(PreviewStates::list());
        ContentView window(state);
        window.show();
        QAccessibleInterface& told = interfaceOf(window);
        QCOMPARE(told.role(), QAccessible::Window);
        QCOMPARE(told.text(QAccessible::Name), QStringLiteral("Korvane Sync"));
        QVERIFY(told.childCount() >= 3);
    }

    void switchSaysWhetherItIsOn()
    {
        AppState state(PreviewStates::list());
        ContentView window(state);
        window.show();
        QAccessibleInterface& flip = interfaceOf(child(window, "autoSync"));
        QVERIFY(flip.state().checkable);
        QVERIFY(flip.state().checked);
        state.setAutoSync(false);
        QVERIFY(!flip.state().checked);
    }

    void readerCanPressAndFlip()
    {
        AppState state(PreviewStates::qr());
        ContentView window(state);
        window.show();
        press(child(window, "autoSync"));
        QTRY_VERIFY(!state.autoSync());
        press(child(window, "done"));
        QTRY_VERIFY(!state.transferQR());
    }

    void disabledButtonIsSaidToBeSo()
    {
        AppState state(previewOf(2));
        ContentView window(state);
        window.show();
        QAccessibleInterface& create = interfaceOf(child(window, "create"));
        QCOMPARE(create.text(QAccessible::Name), QStringLiteral("Pick one chat"));
        QVERIFY(create.state().disabled);
        state.toggle(WindowSetup::guid(1));
        QCOMPARE(create.text(QAccessible::Name), QStringLiteral("Create Korvane QR"));
        QVERIFY(!create.state().disabled);
    }

    void whatIsOutOfSightIsNotRead()
    {
        AppState state(PreviewStates::access());
        ContentView window(state);
        window.show();
        for (const char* hidden : {"search", "chats", "create", "code", "done"})
            QVERIFY2(interfaceOf(child(window, hidden)).state().invisible, hidden);
    }

private:
    static void row(
        const char* state, const char* control, QAccessible::Role role, const char* name)
    {
        QTest::newRow(control) << QString::fromLatin1(state) << QString::fromLatin1(control)
                               << int{role} << QString::fromLatin1(name);
    }

    static AppState::Preview previewNamed(const QString& name)
    {
        return name == QStringLiteral("list") ? PreviewStates::list()
            : name == QStringLiteral("code")  ? PreviewStates::qr()
                                              : PreviewStates::access();
    }

    static QAccessibleInterface& interfaceOf(QWidget& widget)
    {
        QAccessibleInterface* found = QAccessible::queryAccessibleInterface(&widget);
        if (!found)
            qFatal("nothing is told of a widget");
        return *found;
    }

    static QStringList namesIn(QAccessibleInterface& told)
    {
        QStringList names{told.text(QAccessible::Name)};
        for (int i = 0; i < told.childCount(); ++i) {
            if (QAccessibleInterface* below = told.child(i))
                names += namesIn(*below);
        }
        return names;
    }

    static void press(QWidget& widget)
    {
        QAccessibleActionInterface* actions = interfaceOf(widget).actionInterface();
        QVERIFY(actions && !actions->actionNames().isEmpty());
        actions->doAction(actions->actionNames().first());
    }
};

QTEST_MAIN(AccessibilityTest)
#include "AccessibilityTest.moc"
