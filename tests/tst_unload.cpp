// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include <QtCore/QLibrary>
#include <QtTest/QtTest>

/// A program that is not linked to the library, with a plugin that is.
class tst_Unload : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void textsOutlivePlugin()
    {
        QLibrary plugin(QStringLiteral(PLUGIN));
        QVERIFY2(plugin.load(), qPrintable(plugin.errorString()));
        QString text;
        reinterpret_cast<void (*)(QString &)>(plugin.resolve("ask"))(text);
        QVERIFY(plugin.unload());
        QCOMPARE(text, QStringLiteral(""));
        QVERIFY(!text.isNull());
    }
};

QTEST_GUILESS_MAIN(tst_Unload)
#include "tst_unload.moc"
