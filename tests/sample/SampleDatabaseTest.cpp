#include <QtTest/QTest>
class SampleDatabaseTest : public QObject { 
    Q_OBJECT
};
QTEST_APPLESS_MAIN(SampleDatabaseTest)
#include "SampleDatabaseTest.moc"
