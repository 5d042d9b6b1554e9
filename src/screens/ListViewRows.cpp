#include "ListViewRows.h"

#include <QApplication>
#include <QHeaderView>
#include <QPalette>
#include <QTreeWidget>

namespace oquivran {

QTreeWidget* ListViewRows::create(const QString& name, const QStringList& headers, QWidget* parent)
{
    auto* list = new QTreeWidget(parent);
    list->setObjectName(name);
    list->setColumnCount(int(headers.size()));
    list->setHeaderLabels(headers);
    list->setRootIsDecorated(false);
    list->setItemsExpandable(false);
    list->setIndentation(0);
    list->setUniformRowHeights(true);
    list->setAllColumnsShowFocus(true);
    list->setSelectionMode(QAbstractItemView::SingleSelection);
    list->setSelectionBehavior(QAbstractItemView::SelectRows);
    list->setEditTriggers(QAbstractItemView::NoEditTriggers);
    list->header()->setStretchLastSection(false);
    list->header()->setSectionsMovable(false);
    return list;
}

QTreeWidgetItem* ListViewRows::append(QTreeWidget* list, const QStringList& texts)
{
    auto* row = new QTreeWidgetItem(list, texts);
    return row;
}

void ListViewRows::paint(QTreeWidgetItem* row, const QColor& colour, int lastColumn)
{
    for (int column = 0; column <= lastColumn; ++column)
        row->setForeground(column, colour);
}

QTreeWidgetItem* ListViewRows::selected(const QTreeWidget* list)
{
    if (list->topLevelItemCount() == 0)
        return nullptr;
    if (QTreeWidgetItem* current = list->currentItem())
        return current;
    return list->topLevelItem(0);
}

void ListViewRows::fitColumns(QTreeWidget* list)
{
    QHeaderView* header = list->header();
    for (int column = 0; column < list->columnCount(); ++column) {
        list->resizeColumnToContents(column);
        const int headerWidth = header->sectionSizeHint(column);
        // A little room beyond the widest value, so no text touches the next column.
        header->resizeSection(column, qMax(header->sectionSize(column), headerWidth) + 8);
    }
}

QColor ListViewRows::teal()
{
    return QColor(0, 128, 128);
}

QColor ListViewRows::buttonFace()
{
    return QApplication::palette().color(QPalette::Button);
}

QColor ListViewRows::grey()
{
    return QColor(192, 192, 192);
}

} // namespace oquivran
