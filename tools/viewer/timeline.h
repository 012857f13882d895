// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#pragma once

#include "feeddocument.h"

#include <QtCore/QTimer>
#include <QtWidgets/QSlider>

/// A slider over the rows of a feed, with marks below it where something was decided or is wrong.
class Timeline : public QSlider
{
    Q_OBJECT

public:
    explicit Timeline(const FeedDocument &document, QWidget *parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void collect();

    const FeedDocument &m_document;
    QTimer m_delay;
    std::vector<quint16> m_marks; // FeedRow::Flag by pixel
};
