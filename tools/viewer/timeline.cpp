// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "timeline.h"

#include "look.h"

#include <QtWidgets/QStyle>
#include <QtWidgets/QStyleOptionSlider>
#include <QtWidgets/QStylePainter>

static constexpr int markHeight = 6;

Timeline::Timeline(const FeedDocument &document, QWidget *parent)
    : QSlider(Qt::Horizontal, parent)
    , m_document(document)
{
    connect(&document, &FeedDocument::reset, this, &Timeline::collect);
    m_delay.setSingleShot(true);
    m_delay.setInterval(200); // milliseconds; while a feed is loaded the marks move all the time
    connect(&m_delay, &QTimer::timeout, this, &Timeline::collect);
    connect(&document, &FeedDocument::appended, this, [this] {
        setMaximum(m_document.rowCount() - 1);
        if (!m_delay.isActive())
            m_delay.start();
    });
    connect(&document, &FeedDocument::loaded, this, &Timeline::collect);
    collect();
}

// Which marks each pixel has: a feed may have many more rows than the slider has pixels.
void Timeline::collect()
{
    const int count = m_document.rowCount();
    setRange(0, std::max(count - 1, 0));
    QStyleOptionSlider option;
    initStyleOption(&option);
    const int handle = style()->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderHandle, this).width();
    m_marks.assign(size_t(std::max(width(), handle)) + 1, 0);
    for (int row = 0; row < count; ++row) {
        const int flags = m_document.row(row).flags & (FeedRow::Decision | FeedRow::ChangesShown | FeedRow::Problem);
        if (!flags)
            continue;
        const int at = QStyle::sliderPositionFromValue(minimum(), maximum(), row, std::max(width() - handle, 0),
                                                       option.upsideDown);
        m_marks[size_t(handle / 2) + size_t(at)] |= quint16(flags);
    }
    update();
}

QSize Timeline::sizeHint() const
{
    return QSlider::sizeHint() + QSize(0, markHeight + 2);
}

QSize Timeline::minimumSizeHint() const
{
    return QSlider::minimumSizeHint() + QSize(0, markHeight + 2);
}

void Timeline::resizeEvent(QResizeEvent *event)
{
    QSlider::resizeEvent(event);
    collect();
}

void Timeline::paintEvent(QPaintEvent *)
{
    QStylePainter painter(this);
    QStyleOptionSlider option;
    initStyleOption(&option);
    option.subControls = QStyle::SC_SliderGroove | QStyle::SC_SliderHandle;
    painter.drawComplexControl(QStyle::CC_Slider, option);
    for (size_t i = 0; i < m_marks.size(); ++i) {
        const int flags = m_marks[i];
        if (!flags)
            continue;
        const auto meaning = flags & FeedRow::Conflict  ? Look::Conflict
                             : flags & FeedRow::Problem ? Look::Problem
                                                        : Look::Decision;
        const int top =
            height() - (meaning == Look::Decision && !(flags & FeedRow::ChangesShown) ? markHeight - 2 : markHeight);
        painter.fillRect(QRect(int(i), top, 2, height() - top), Look::accent(palette(), meaning));
    }
}
