#pragma once

#include <QDate>
#include <QList>
#include <QSqlDatabase>
#include <QString>
#include <QStringList>
#include <QVariantList>

namespace oquivran {
class clQUIVRAN;
}

// One sub-item of an export operation, as the host database holds it.
struct SubItem
{
    int item = 0;
    int idsub = 0;
    QString catalog;
    QString product;
    double quantity = 0;
    // The group root it is printed with; 0 when it is not a group member.
    int groupRoot = 0;
};

// One discharge line of a sub-item, as the discharge database holds it.
struct DischargeLine
{
    int subItem = 0;
    QString declaration;
    QString input;
    int stockItem = 0;
    int stockSubItem = 0;
    double quantity = 0;
    double realQuantity = 0;
    double unitPrice = 0;
    QString ctc;
    int exportItem = 0;
};

// The export declaration's data the print of the declaration recorded on an operation's
// discharge lines (DIP.EXTNOF, EXTFOF).
struct OfficialData
{
    QString number;
    QDate date;
    // True when nothing is recorded.
    bool isEmpty() const { return number.isEmpty() && !date.isValid(); }
    // "number del date" as the host shows it, the date in ISO.
    QString text() const;
};

// The host's view of one export operation: its items, sub-items and groups in the host
// database, its discharge lines in the discharge database, and the host's jobs that drive the
// component over them.
class ExportOperation
{
public:
    ExportOperation(const QSqlDatabase& discharge, const QSqlDatabase& host);

    // The operations of the host database, in order.
    QStringList operations() const;
    // Loads an operation; false when the host database has no sub-item of it.
    bool load(const QString& interno);

    QString interno() const { return m_interno; }
    QList<SubItem> subItems() const { return m_subItems; }
    // The sub-item with that number, or nullptr.
    const SubItem* subItem(int idsub) const;
    // The item numbers, in order.
    QList<int> items() const;
    // The sub-items of an item that head their own block (group members are left out), as
    // the "|"-separated list the component takes.
    QString itemSubItems(int item) const;

    // The discharge lines of a sub-item (all sub-items with 0), in the order they were written.
    QList<DischargeLine> dischargeLines(int idsub = 0) const;
    // True when the sub-item has discharge lines.
    bool hasLines(int idsub) const;
    // The official number and date recorded on the operation's discharge lines; empty when
    // none is.
    OfficialData officialData() const;

    // Sets the component's properties for a sub-item: INTERNO, SUBITEM, CATNRO, PRDNRO, PRDCAN.
    void setOn(oquivran::clQUIVRAN& component, const SubItem& subItem) const;
    // Numbers the operation's discharge lines: EnviarGrupoIdSub for each group, ResetIdItems,
    // then EnviarNroItem for each item whose sub-items have lines. Items left out are added to
    // skipped. False when a call of the component failed.
    bool numberItems(oquivran::clQUIVRAN& component, QList<int>& skipped) const;

private:
    QSqlDatabase m_discharge;
    QSqlDatabase m_host;
    QString m_interno;
    QList<SubItem> m_subItems;
};
