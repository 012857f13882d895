// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "testsupport.h"

#include "feed/feedplayer.h"
#include "feed/json.h"
#include "feed/operations.h"

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

static QString readTranscripts()
{
    QString text;
    QDir dir(QStringLiteral(TRANSCRIPTS_DIR));
    for (const QString &name : dir.entryList({u"*.txt"_s})) {
        QFile file(dir.filePath(name));
        if (file.open(QIODevice::ReadOnly))
            text += QString::fromUtf8(file.readAll());
    }
    return text;
}

void tst_Transcripts::play_data()
{
    QTest::addColumn<QStringList>("lines");
    const QStringList cases = (u"\n"_s + readTranscripts()).split(u"\n== "_s).mid(1);
    QVERIFY(cases.size() > 10);
    for (const QString &text : cases) {
        QStringList lines = text.split(u'\n');
        lines.removeAll(QString());
        const QByteArray name = lines.takeFirst().toUtf8();
        QTest::newRow(name.constData()) << lines;
    }
}

void tst_Transcripts::play()
{
    QFETCH(QStringList, lines);
    FeedPlayer player;
    for (int i = 0; i < lines.size();) {
        const QString call = lines[i].section(u" -> "_s, 0, 0);
        const QByteArray answer = lines[i].section(u" -> "_s, 1).toUtf8();
        QStringList expected;
        while (++i < lines.size() && !lines[i].startsWith(u'['))
            expected << lines[i];

        LiveObjects::ownLeftPolicies();
        const FeedLine line = parseLine(call.toUtf8());
        const Outcome played = player.play(line);
        QVERIFY2(played.error.isEmpty() && line.kind == FeedLine::Call, qPrintable(call + played.error));
        const QString context = call + u": "_s;
        if (played.answer.isUndefined())
            QVERIFY2(answer.isEmpty(), qPrintable(context));
        else
            QCOMPARE(context + compactJson(played.answer),
                     context + compactJson(QJsonDocument::fromJson("[" + answer + "]").array().at(0)));
        QStringList observed = played.log;
        observed.replaceInStrings(QRegularExpression(u"^info: "_s), u"I: "_s)
            .replaceInStrings(QRegularExpression(u"^critical: "_s), u"C: "_s)
            .replaceInStrings(QRegularExpression(u"(error occur in: .*) -- [1-9][0-9]*$"_s), u"\\1 -- N"_s);
        for (const QString &name : played.emitted)
            observed << u"S: "_s + name;
        QCOMPARE(context + observed.join(u'\n'), context + expected.join(u'\n'));
    }
    LiveObjects::ownLeftPolicies();
}

// Together the transcripts call whatever a feed can, and a feed whatever the facade offers.
void tst_Transcripts::everyOperation()
{
    const QString transcripts = readTranscripts();
    QFile header(QStringLiteral(HEADERS_DIR "/vmdatabase.h"));
    QVERIFY(header.open(QIODevice::ReadOnly));
    QString text = QString::fromUtf8(header.readAll());
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
