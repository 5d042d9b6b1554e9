#pragma once

#include "Alinear.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QtGlobal>

namespace oquivran {

// One column of a report: its title, the width of its values and of its title, and the side
// both keep to.
struct ReportColumn
{
    QString title;
    qint16 width = 0;
    Alignment alignment = Alignment::Left;
    // The title's own width; 0 means the values' width.
    qint16 titleWidth = 0;
};

// The columns of a report and the lines made of them: each field padded (or cut) to its
// column by Alinear, one blank between columns and none after the last.
class ColumnLayout
{
public:
    // Which width a line uses.
    enum class Widths {
        Values,
        Titles,
    };

    explicit ColumnLayout(const QList<ReportColumn>& columns);

    // The column-title line.
    QString titleLine() const;
    // A detail line of one value per column.
    QString detailLine(const QStringList& values) const;
    // A line of one text per column (missing texts are blank), padded to the given widths.
    QString line(const QStringList& texts, Widths widths) const;
    // A run of "-" as wide as a column's title or values.
    QString rule(int column, Widths widths = Widths::Titles) const;
    // A run of "-" under every column.
    QString ruleLine() const;

    // The column's position in the layout, by its title; -1 when there is none.
    int indexOf(const QString& title) const;
    int count() const { return int(m_columns.size()); }

private:
    qint16 widthOf(int column, Widths widths) const;

    QList<ReportColumn> m_columns;
};

} // namespace oquivran
