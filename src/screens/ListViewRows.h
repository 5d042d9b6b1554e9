#pragma once

#include <QColor>
#include <QStringList>

class QTreeWidget;
class QTreeWidgetItem;
class QWidget;

namespace oquivran {

// The report-style list views of the screens: a QTreeWidget whose rows hold their text in
// column 0 and their sub-items in columns 1 to n, coloured by foreground brushes.
class ListViewRows
{
public:
    // A flat list view named name with these column headers.
    static QTreeWidget* create(const QString& name, const QStringList& headers, QWidget* parent);
    // Appends a row with texts in columns 0, 1, ...
    static QTreeWidgetItem* append(QTreeWidget* list, const QStringList& texts);
    // Paints the text of columns 0 to lastColumn of row in colour.
    static void paint(QTreeWidgetItem* row, const QColor& colour, int lastColumn);
    // The row the operator selected: the current row, else the first; null in an empty list.
    static QTreeWidgetItem* selected(const QTreeWidget* list);
    // Makes every column wide enough for its header and its values.
    static void fitColumns(QTreeWidget* list);

    // The colour of a row of the teal kind (an incomplete input).
    static QColor teal();
    // The system's button-face colour (a line without stock).
    static QColor buttonFace();
    // The grey of stock that cannot be discharged now.
    static QColor grey();
};

} // namespace oquivran
