// SPDX-FileCopyrightText: 2026 The vmdatabase authors
// SPDX-License-Identifier: MIT

#include "carddelegate.h"

#include "desktopsmodel.h"
#include "look.h"

#include <QtGui/QPainter>
#include <QtWidgets/QApplication>
#include <QtWidgets/QListView>
#include <QtWidgets/QStyle>

namespace {

// A card measures in lines of its font, so it grows with it.
struct Measures
{
    explicit Measures(const QFont &font)
        : metrics(font)
        , line(metrics.height() + metrics.height() / 4)
        , margin(metrics.height() * 2 / 3)
        , stack(metrics.height() * 2 / 5)
        , least(metrics.averageCharWidth() * 34)
    {}

    // Cards share the width of a row.
    int width(const QWidget *widget) const
    {
        const auto *view = qobject_cast<const QListView *>(widget);
        if (!view)
            return least;
        const int gap = 2 * view->spacing();
        const int room = view->viewport()->width() - gap;
        const int columns = std::max(1, std::min(room / (least + gap), view->model()->rowCount()));
        return std::min(room / columns - gap, 2 * least);
    }

    const QFontMetrics metrics;
    const int line;
    const int margin;
    const int stack; // how far a card behind stands out
    const int least;
};

struct Line // of a card
{
    QString text;
    QString detail; // at the other end
    QColor color;
    QColor detailColor;
    QColor mark; // of a dot before the text; none if invalid
    bool isFilled = false;
    bool isBold = false;
};

QVector<Line> linesOf(const Desktop &desktop, const QPalette &palette)
{
    const bool isHidden = desktop.state == Desktop::Hidden;
    const QColor muted = Look::muted(palette);
    const QColor text = isHidden ? muted : palette.color(QPalette::Text);
    const QColor problem = Look::accent(palette, Look::Problem);
    QVector<Line> lines;
    lines.reserve(desktop.machines.size() + desktop.ranking.size() + 2);
    for (const Desktop::Machine &machine : desktop.machines)
        lines << Line{machine.name,
                      !machine.isActive          ? machine.status
                      : machine.status.isEmpty() ? DesktopsModel::tr("active")
                                                 : DesktopsModel::tr("%1, active").arg(machine.status),
                      text,
                      muted,
                      machine.isActive ? Look::accent(palette, Look::Shown) : muted,
                      machine.isActive,
                      false};
    if (desktop.machineCount > desktop.machines.size())
        lines << Line{DesktopsModel::tr("and %1 more").arg(desktop.machineCount - desktop.machines.size()),
                      {},
                      muted,
                      {},
                      {},
                      false,
                      false};
    if (desktop.ranking.isEmpty())
        return lines;
    for (int i = 0; i < desktop.ranking.size(); ++i) {
        const Desktop::Place &place = desktop.ranking.at(i);
        const bool isLead = place.uuid == desktop.pool;
        lines << Line{QStringLiteral("%1.  %2").arg(i + 1).arg(place.name),
                      place.detail,
                      isLead ? text : muted,
                      place.isFailed ? problem : muted,
                      {},
                      false,
                      isLead};
    }
    if (desktop.placeCount > desktop.ranking.size())
        lines << Line{DesktopsModel::tr("and %1 more").arg(desktop.placeCount - desktop.ranking.size()),
                      {},
                      muted,
                      {},
                      {},
                      false,
                      false};
    return lines;
}

QString stateText(Desktop::State state)
{
    return state == Desktop::Shown    ? DesktopsModel::tr("shown")
           : state == Desktop::Hidden ? DesktopsModel::tr("hidden")
                                      : DesktopsModel::tr("undecided");
}

QString subtitleOf(const Desktop &desktop)
{
    QString text = desktop.group.isNull()
                       ? desktop.pool
                       : DesktopsModel::tr("group %1, %2 pools").arg(desktop.group).arg(desktop.placeCount);
    if (desktop.isFailed)
        text = DesktopsModel::tr("failed") + QStringLiteral(" \u00b7 ") + text;
    return text;
}

// Text at the begin and text at the end of one line; the end one yields last.
void drawLine(QPainter *painter, const QStyleOptionViewItem &option, const QRect &rect, const Line &line)
{
    QFont font = option.font;
    font.setBold(line.isBold);
    const QFontMetrics metrics(font);
    const int wanted = line.detail.isEmpty() ? 0 : option.fontMetrics.horizontalAdvance(line.detail) + 2;
    const int gap = line.detail.isEmpty() ? 0 : option.fontMetrics.averageCharWidth();
    const int left = rect.width() - metrics.horizontalAdvance(line.text) - 2 - gap;
    const int detailWidth = std::min(wanted, std::max(left, rect.width() * 2 / 5));
    QRect textRect = rect.adjusted(0, 0, -detailWidth - gap, 0);
    if (line.mark.isValid()) {
        const int size = option.fontMetrics.height() / 2;
        QRect dot(rect.left(), rect.center().y() - size / 2, size, size);
        textRect.setLeft(dot.right() + size);
        painter->setPen(QPen(line.mark, 1.5));
        painter->setBrush(line.isFilled ? QBrush(line.mark) : QBrush(Qt::NoBrush));
        painter->drawEllipse(QStyle::visualRect(option.direction, rect, dot));
    }
    const int begin =
        int(QStyle::visualAlignment(option.direction, Qt::AlignLeft)) | int(Qt::AlignVCenter) | int(Qt::TextSingleLine);
    const int end = int(QStyle::visualAlignment(option.direction, Qt::AlignRight)) | int(Qt::AlignVCenter) |
                    int(Qt::TextSingleLine);
    painter->setFont(font);
    painter->setPen(line.color);
    painter->drawText(QStyle::visualRect(option.direction, rect, textRect), begin | int(Qt::AlignAbsolute),
                      metrics.elidedText(line.text, Qt::ElideRight, textRect.width()));
    QRect detailRect = rect;
    detailRect.setLeft(rect.right() + 1 - detailWidth);
    painter->setFont(option.font);
    painter->setPen(line.detailColor);
    painter->drawText(QStyle::visualRect(option.direction, rect, detailRect), end | int(Qt::AlignAbsolute),
                      option.fontMetrics.elidedText(line.detail, Qt::ElideRight, detailWidth));
}

} // namespace

void CardDelegate::paint(QPainter *painter, const QStyleOptionViewItem &given, const QModelIndex &index) const
{
    QStyleOptionViewItem option = given;
    initStyleOption(&option, index);
    const auto desktop = index.data(DesktopsModel::DesktopRole).value<Desktop>();
    const Measures measures(option.font);
    const QPalette &palette = option.palette;
    const bool isHidden = desktop.state == Desktop::Hidden;
    const bool isSelected = option.state & QStyle::State_Selected;
    const QColor base = palette.color(QPalette::Base);
    const QColor back = isHidden ? Look::mix(base, palette.color(QPalette::Window), 0.6) : base;
    const qreal radius = measures.stack * 1.5;

    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    QRectF card = QRectF(option.rect).adjusted(1.5, 2 * measures.stack + 1.5, -1.5, -1.5);
    QPen outline(Look::outline(palette), 1, desktop.state == Desktop::Undecided ? Qt::DashLine : Qt::SolidLine);
    for (int behind = std::min(desktop.placeCount - 1, 2); behind > 0; --behind) {
        painter->setPen(outline);
        painter->setBrush(Look::mix(palette.color(QPalette::Window), palette.color(QPalette::Text), 0.07 * behind));
        const qreal inset = behind * measures.stack;
        painter->drawRoundedRect(card.adjusted(inset, -behind * measures.stack, -inset, -measures.stack), radius,
                                 radius);
    }
    if (desktop.isChanged)
        outline = QPen(Look::accent(palette, Look::Changed), 1.5);
    if (isSelected)
        outline = QPen(palette.color(QPalette::Highlight), 2);
    painter->setPen(outline);
    painter->setBrush(desktop.isChanged ? Look::mix(back, Look::tint(palette, Look::Changed), 0.5) : back);
    painter->drawRoundedRect(card, radius, radius);

    QRect rect = card.toAlignedRect().adjusted(measures.margin, measures.margin, -measures.margin, -measures.margin);
    rect.setHeight(measures.line);
    const QColor muted = Look::muted(palette);
    const QColor state = desktop.state == Desktop::Shown ? Look::accent(palette, Look::Shown) : muted;
    drawLine(painter, option, rect,
             {desktop.name,
              stateText(desktop.state),
              isHidden ? muted : palette.color(QPalette::Text),
              state,
              {},
              false,
              true});
    rect.translate(0, measures.line);
    const QColor subtitle = desktop.isFailed ? Look::accent(palette, Look::Problem) : muted;
    drawLine(painter, option, rect, {subtitleOf(desktop), {}, subtitle, {}, {}, false, false});
    rect.translate(0, measures.line + measures.margin / 2);
    const QVector<Line> lines = linesOf(desktop, palette);
    // A line between the machines of a group's lead and the ranking.
    int machines = desktop.ranking.isEmpty() ? -1 : desktop.machines.size();
    machines += int(machines >= 0 && desktop.machineCount > machines);
    for (const Line &line : lines) {
        if (machines-- == 0 && desktop.machineCount > 0) {
            painter->setPen(Look::outline(palette));
            painter->drawLine(rect.topLeft(), rect.topRight());
            rect.translate(0, measures.margin / 2);
        }
        drawLine(painter, option, rect, line);
        rect.translate(0, measures.line);
    }
    painter->restore();

    if (option.state & QStyle::State_HasFocus && option.state & QStyle::State_KeyboardFocusChange) {
        QStyleOptionFocusRect focus;
        focus.QStyleOption::operator=(option);
        focus.rect = card.toAlignedRect().adjusted(3, 3, -3, -3);
        focus.backgroundColor = back;
        const QWidget *widget = option.widget;
        (widget ? widget->style() : QApplication::style())
            ->drawPrimitive(QStyle::PE_FrameFocusRect, &focus, painter, widget);
    }
}

QSize CardDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    const auto desktop = index.data(DesktopsModel::DesktopRole).value<Desktop>();
    const Measures measures(option.font);
    const int lines = 2 + linesOf(desktop, option.palette).size();
    const int gaps = (lines > 2 ? measures.margin / 2 : 0) +
                     (desktop.machineCount > 0 && !desktop.ranking.isEmpty() ? measures.margin / 2 : 0);
    return {measures.width(option.widget), 2 * measures.stack + 2 * measures.margin + lines * measures.line + gaps + 3};
}
