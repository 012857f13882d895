// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include <QtCore/QIODevice>

/// A file, or standard input for "-", that hands over what there is as soon as it is there: a line that is typed is
/// played at once. QFile waits until it has as much as it was asked for, and cannot be interrupted.
class InputFile : public QIODevice
{
    Q_OBJECT

public:
    explicit InputFile(const QString &name, QObject *parent = nullptr);
    ~InputFile() override;

    bool isSequential() const override { return true; }

    /// Whether it could be opened and read so far; errorString() says why not.
    bool isGood() const { return m_error == 0; }

protected:
    qint64 readData(char *data, qint64 size) override;
    qint64 writeData(const char *, qint64) override { return -1; }

private:
    void fail();

    int m_descriptor;
    int m_error = 0;
};
