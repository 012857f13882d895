// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "testsupport.h"

#include "feed/feedplayer.h"

#include <QtCore/QDir>
#include <QtCore/QJsonDocument>

/// Plays tests/transcripts/*.txt through the facade. "== name" begins a case with a database of its own; a line is a
/// call, with its answer behind " -> ", and is followed by all that it logs (I:, C:) and emits (S:), nothing more or
/// less.
class tst_Transcripts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void play_data();
    void play();
    void everyOperation();
};

static QString readText(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

void tst_Transcripts::play_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("firstLine");
    QTest::addColumn<QStringList>("lines");
    const QDir dir(QStringLiteral(TRANSCRIPTS_DIR));
    int cases = 0;
    for (const QString &name : dir.entryList({u"*.txt"_s})) {
        const QStringList lines = readText(dir.filePath(name)).split(u'\n');
        for (int begin = 0, end = 0; begin < lines.size(); begin = end) {
            while (++end < lines.size() && !lines[end].startsWith(u"== "_s))
                ;
            QTest::newRow(lines[begin].mid(3).toUtf8())
                << dir.filePath(name) << begin + 2 << QStringList(lines.mid(begin + 1, end - begin - 1));
            ++cases;
        }
    }
    QVERIFY(cases > 10);
}

void tst_Transcripts::play()
{
    QFETCH(QString, path);
    QFETCH(int, firstLine);
    QFETCH(QStringList, lines);
    lines.removeAll(QString()); // only behind the last call
    LogCapture log;
    FeedPlayer player;
    QStringList signalled;
    connect(&player.database(), &VmDatabase::remoteAppsUpdated, this, [&] { signalled << u"S: remoteAppsUpdated"_s; });
    for (int i = 0; i < lines.size();) {
        const int line = firstLine + i;
        const QString call = lines[i].section(u" -> "_s, 0, 0);
        const QByteArray answer = lines[i].section(u" -> "_s, 1).toUtf8();
        QStringList expected(call);
        if (!answer.isEmpty())
            expected[0] += u" -> "_s + compactJson(QJsonDocument::fromJson("[" + answer + "]").array().at(0));
        while (++i < lines.size() && !lines[i].startsWith(u'['))
            expected << lines[i];

        LiveObjects::ownLeftPolicies();
        const FeedPlayer::Line played = player.play(call.toUtf8());
        QStringList actual(call + played.outcome.error);
        if (!played.outcome.answer.isUndefined())
            actual[0] += u" -> "_s + compactJson(played.outcome.answer);
        actual += log.take() + std::exchange(signalled, {});
        if (!compareLines(actual, expected, call, path, line))
            break;
    }
    LiveObjects::ownLeftPolicies();
}

// Together the transcripts call whatever a feed can, and a feed whatever the facade offers.
void tst_Transcripts::everyOperation()
{
    QString transcripts;
    const QDir dir(QStringLiteral(TRANSCRIPTS_DIR));
    for (const QString &name : dir.entryList({u"*.txt"_s}))
        transcripts += readText(dir.filePath(name));
    QString text = readText(QStringLiteral(HEADERS_DIR "/vmdatabase.h"));
    text.remove(QRegularExpression(u"Q_SIGNALS:.*"_s, QRegularExpression::DotMatchesEverythingOption));
    auto names = QRegularExpression(u"^    [A-Za-z][^/(]*[ &*]([a-z]\\w+)\\("_s, QRegularExpression::MultilineOption)
                     .globalMatch(text);
    int count = 0;
    for (; names.hasNext(); ++count) {
        const QString name = names.next().captured(1);
        QVERIFY2(findOperation(name), qPrintable(name));
        QVERIFY2(transcripts.contains(u"[\""_s + name + u'"'), qPrintable(name));
    }
    QCOMPARE(count, 44);
}

QTEST_GUILESS_MAIN(tst_Transcripts)
#include "tst_transcripts.moc"
