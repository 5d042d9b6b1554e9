#include "FloorWork.h"

#include "DateText.h"
#include "DischargeStatements.h"
#include "PrintStatements.h"
#include "ReportKind.h"

#include <QDate>

#include <sqlite3.h>

#include <map>
#include <memory>
#include <stdexcept>
#include <typeinfo>

using oquivran::DipCandidate;
using oquivran::DischargeStatements;
using oquivran::PrintStatements;

namespace {

// Marker values: texts and numbers no real statement holds.
const QString interno = QStringLiteral("QQE");
const QString catalog = QStringLiteral("QQC");
const QString product = QStringLiteral("QQP");
const QString declaration = QStringLiteral("QQD");
const QString input = QStringLiteral("QQI");
constexpr qint16 subItemMarker = 30001;
constexpr qint16 itemMarker = 30004;
constexpr qint16 stockSubItemMarker = 30005;
const QDate today(2031, 3, 17);

QString quoted(const QString& text)
{
    return u'\'' + text + u'\'';
}

QString number(int value)
{
    return QString::number(value);
}

DipCandidate markerLine()
{
    DipCandidate line;
    line.declaration = declaration;
    line.inputCode = input;
    line.item = itemMarker;
    line.subItem = stockSubItemMarker;
    line.unitPrice = 30006;
    line.tariffPosition = QStringLiteral("QQT");
    line.shrinkageKind = 30007;
    line.lossKind = 30008;
    line.obligatory = 30009;
    line.ctc = QStringLiteral("QQK");
    line.exportReference = QStringLiteral("QQX");
    line.quantity = 30010;
    line.shrinkage = 30011;
    line.loss = 30012;
    line.relationQuantity = 30013;
    return line;
}

DischargeStatements::SubItem markerSubItem()
{
    return {interno, subItemMarker, catalog, product};
}

// Markers of a stock line's key: declaration, input, item, sub-item.
const QStringList stockLineMarkers = {quoted(declaration), quoted(input), number(itemMarker),
                                      number(stockSubItemMarker)};
// Markers of a sub-item: operation, sub-item, catalog, product.
const QStringList subItemMarkers = {quoted(interno), number(subItemMarker), quoted(catalog),
                                    quoted(product)};

QString insertSql()
{
    DischargeStatements::InsertValues values;
    values.subItem = markerSubItem();
    values.productMultiplier = 30002;
    values.realQuantity = 30003;
    values.today = today;
    return DischargeStatements::insertLine(values, markerLine());
}

// The insert's markers, in the order of the values FloorWork::save binds.
const QStringList insertMarkers = {quoted(interno),           number(subItemMarker),
                                   quoted(declaration),       quoted(input),
                                   number(itemMarker),        number(stockSubItemMarker),
                                   QStringLiteral("'30006'"), quoted(catalog),
                                   quoted(product),           QStringLiteral("'30002'"),
                                   QStringLiteral("'30007'"), QStringLiteral("'30008'"),
                                   QStringLiteral("'30009'"), QStringLiteral("'QQK'"),
                                   QStringLiteral("'QQX'"),   QStringLiteral("'QQT'"),
                                   QStringLiteral("'30010'"), QStringLiteral("'30011'"),
                                   QStringLiteral("'30012'"), QStringLiteral("'30013'"),
                                   QStringLiteral("' 30003'")};

} // namespace

FloorWork::FloorWork(const FloorConnection& discharge, const FloorConnection& host)
    : m_discharge(discharge), m_host(host),
      m_multiplier(discharge, DischargeStatements::productMultiplier(catalog, product),
                   {quoted(catalog), quoted(product)}),
      m_relations(discharge,
                  DischargeStatements::relations(QStringLiteral("QQF"), catalog, product),
                  {QStringLiteral("'QQF'"), quoted(catalog), quoted(product)}),
      m_stock(discharge, DischargeStatements::stockOfInput(input), {quoted(input)}),
      m_insert(discharge, insertSql(),
               insertMarkers + QStringList{quoted(oquivran::DateText::toText(today))}),
      m_sum(discharge, DischargeStatements::dischargedSum(markerLine()), stockLineMarkers),
      m_declared(discharge, DischargeStatements::declaredQuantity(markerLine()), stockLineMarkers),
      m_update(discharge,
               DischargeStatements::refreshAvailability(QStringLiteral("QQS"),
                                                        QStringLiteral("QQF"), markerLine()),
               stockLineMarkers + QStringList{QStringLiteral("'QQS'"), QStringLiteral("'QQF'")}),
      m_totals(discharge, DischargeStatements::subItemTotals(markerSubItem()), subItemMarkers),
      m_select(discharge, DischargeStatements::selectSubItem(markerSubItem()), subItemMarkers),
      m_delete(discharge, DischargeStatements::deleteSubItem(markerSubItem()), subItemMarkers),
      m_itemInputs(discharge, DischargeStatements::itemInputs(itemMarker, interno),
                   {quoted(interno), number(itemMarker)}),
      m_items(host, PrintStatements::items(interno), {quoted(interno)}),
      m_subItems(host, PrintStatements::subItems(interno, itemMarker),
                 {quoted(interno), number(itemMarker)}),
      m_numberItem(discharge,
                   DischargeStatements::numberItem(itemMarker, number(subItemMarker), interno),
                   {number(itemMarker), number(subItemMarker), quoted(interno)})
{
}

void FloorWork::setStockLine(FloorStatement& statement, const QString& declarationValue,
                             const QString& inputValue, int item, int subItem)
{
    statement.set(0, declarationValue);
    statement.set(1, inputValue);
    statement.set(2, item);
    statement.set(3, subItem);
}

void FloorWork::setSubItem(FloorStatement& statement, const QString& internoValue, qint16 subItem,
                           const QString& productValue)
{
    statement.set(0, internoValue);
    statement.set(1, int(subItem));
    statement.set(2, QStringLiteral("CAT"));
    statement.set(3, productValue);
}

int FloorWork::openAllocation(const QString& productValue, double productQuantity)
{
    m_multiplier.set(0, QStringLiteral("CAT"));
    m_multiplier.set(1, productValue);
    if (!m_multiplier.step())
        throw std::runtime_error("floor: no multiplier");
    const double multiplier = m_multiplier.real(0);
    m_multiplier.reset();

    m_relations.set(0, productQuantity * multiplier);
    m_relations.set(1, QStringLiteral("CAT"));
    m_relations.set(2, productValue);
    QList<std::pair<QString, double>> relations;
    while (m_relations.step()) {
        m_relations.text(1);
        relations.append({m_relations.text(0), m_relations.real(3)});
    }
    m_relations.reset();

    int lines = 0;
    for (const auto& [code, required] : relations) {
        m_stock.set(0, code);
        double taken = 0;
        while (m_stock.step()) {
            ++lines;
            m_stock.text(0);
            m_stock.text(2);
            m_stock.text(7);
            m_stock.text(8);
            const double available = m_stock.real(5);
            if (taken + available >= required)
                break;
            taken += available;
        }
        m_stock.reset();
    }
    return lines;
}

void FloorWork::refresh(const QString& declarationValue, const QString& inputValue, int item,
                        int subItem)
{
    setStockLine(m_sum, declarationValue, inputValue, item, subItem);
    m_sum.step();
    const double total = m_sum.real(0);
    m_sum.reset();
    setStockLine(m_declared, declarationValue, inputValue, item, subItem);
    if (!m_declared.step()) {
        m_declared.reset();
        return;
    }
    const double declared = m_declared.real(0);
    m_declared.reset();
    if (total > declared)
        throw std::runtime_error("floor: discharged more than declared");
    setStockLine(m_update, declarationValue, inputValue, item, subItem);
    m_update.set(4, total);
    m_update.set(5, QStringLiteral("00.0000"));
    m_update.step();
    m_update.reset();
}

void FloorWork::save(const QString& internoValue, qint16 subItem, const QString& productValue,
                     const QList<DipCandidate>& lines)
{
    const QString todayText = oquivran::DateText::toText(QDate::currentDate());
    for (const DipCandidate& line : lines) {
        if (line.allocationStatus == oquivran::AllocationNoStock)
            continue;
        const QVariantList values = {internoValue,
                                     int(subItem),
                                     line.declaration,
                                     line.inputCode,
                                     int(line.item),
                                     int(line.subItem),
                                     line.unitPrice,
                                     QStringLiteral("CAT"),
                                     productValue,
                                     1.0,
                                     int(line.shrinkageKind),
                                     int(line.lossKind),
                                     int(line.obligatory),
                                     line.ctc,
                                     line.exportReference,
                                     line.tariffPosition,
                                     line.quantity,
                                     line.shrinkage,
                                     line.loss,
                                     line.relationQuantity,
                                     line.quantity,
                                     todayText};
        for (int i = 0; i < values.size(); ++i)
            m_insert.set(i, values.at(i));
        m_insert.step();
        m_insert.reset();
    }
    for (const DipCandidate& line : lines)
        refresh(line.declaration, line.inputCode, line.item, line.subItem);
    setSubItem(m_totals, internoValue, subItem, productValue);
    m_totals.drain();
}

void FloorWork::eliminate(const QString& internoValue, qint16 subItem, const QString& productValue)
{
    struct Key
    {
        QString declaration;
        QString input;
        int item;
        int subItem;
    };
    QList<Key> keys;
    setSubItem(m_select, internoValue, subItem, productValue);
    // select *: ARTDCL, ARTNRO, ARTITM and ARTSBT are columns 4 to 7.
    while (m_select.step())
        keys.append(
            {m_select.text(4), m_select.text(5), int(m_select.real(6)), int(m_select.real(7))});
    m_select.reset();
    setSubItem(m_delete, internoValue, subItem, productValue);
    m_delete.step();
    m_delete.reset();
    for (const Key& key : keys)
        refresh(key.declaration, key.input, key.item, key.subItem);
}

int FloorWork::report(const oquivran::ReportKind& kind, const QString& internoValue)
{
    std::unique_ptr<FloorStatement>& lines = m_linesQueries[typeid(kind).name()];
    if (!lines)
        lines = std::make_unique<FloorStatement>(
            m_discharge, kind.linesQuery(interno, stockSubItemMarker),
            QStringList{quoted(interno), number(stockSubItemMarker)});
    return walk(*lines, internoValue);
}

int FloorWork::reportByLookups(const oquivran::ReportKind& kind, const QString& internoValue)
{
    std::unique_ptr<FloorStatement>& lines = m_lookupQueries[typeid(kind).name()];
    if (!lines) {
        // Written by hand: the columns, grouping and order of the component's text, the lines
        // found by one index lookup per branch of "EXTSBT = n or idroot = n".
        const bool summed = kind.linesQuery(interno, stockSubItemMarker).contains(u"group by");
        const QString sql =
            summed ? QStringLiteral("select INTFOF,ARTDCL,INTADU,ARTNRO,INTVEN,DIPCTC,ARTPRE,"
                                    "RIPMER,TRPMER,RIPPER,TRPPER,RIPCAN*PRDMUL as RIPCANex,"
                                    "sum(DIPCAN) as DIPCANex,sum(RALCAN) As RALCANex "
                                    "from DIP, INTINS where INTINS.INTDCL = ARTDCL and %1 "
                                    "group by INTFOF,ARTDCL,INTADU,ARTNRO,INTVEN,DIPCTC,ARTPRE,"
                                    "RIPMER,TRPMER,RIPPER,TRPPER,RIPCAN*PRDMUL "
                                    "order by INTFOF, ARTNRO, INTVEN")
                   : QStringLiteral("select ARTDCL, ARTITM, ARTSBT, PRDNRO, ARTNRO, ARTNCM, "
                                    "RIPCAN, PRDMUL, DIPCAN, RIPPER, TRPPER, RIPMER, TRPMER, "
                                    "RALCAN, ARTPRE, DIPCTC, DIPEXP from DIP where %1");
        lines = std::make_unique<FloorStatement>(
            m_discharge, sql.arg(subItemLookups(stockSubItemMarker)),
            QStringList{quoted(interno), number(stockSubItemMarker)});
    }
    return walk(*lines, internoValue);
}

QString FloorWork::subItemLookups(int subItem)
{
    return QStringLiteral("DIP.rowid in (select rowid from DIP where EXTINT = '%1' and EXTSBT = "
                          "%2 union all select rowid from DIP where EXTINT = '%1' and idroot = "
                          "%2)")
        .arg(interno)
        .arg(subItem);
}

int FloorWork::walk(FloorStatement& lines, const QString& internoValue)
{
    int rows = 0;
    m_items.set(0, internoValue);
    QList<int> items;
    while (m_items.step())
        items.append(int(m_items.real(0)));
    m_items.reset();
    for (const int item : items) {
        m_subItems.set(0, internoValue);
        m_subItems.set(1, item);
        QList<int> subItems;
        while (m_subItems.step()) {
            subItems.append(int(m_subItems.real(0)));
            m_subItems.text(1);
            m_subItems.text(2);
            m_subItems.real(3);
        }
        m_subItems.reset();
        for (const int subItem : subItems) {
            lines.set(0, internoValue);
            lines.set(1, subItem);
            rows += lines.drain();
        }
    }
    return rows;
}

int FloorWork::numberItems(const QString& internoValue, int items, NumberingPlan plan)
{
    if (plan == NumberingPlan::Lookups && !m_numberByLookups)
        m_numberByLookups = std::make_unique<FloorStatement>(
            m_discharge,
            QStringLiteral("update DIP set EXTITM = %1 where ").arg(itemMarker) +
                subItemLookups(subItemMarker),
            QStringList{number(itemMarker), number(subItemMarker), quoted(interno)});
    FloorStatement& update = plan == NumberingPlan::AsWritten ? m_numberItem : *m_numberByLookups;
    int changed = 0;
    for (int item = 1; item <= items; ++item) {
        for (const int subItem : {2 * item - 1, 2 * item}) {
            update.set(0, item);
            update.set(1, subItem);
            update.set(2, internoValue);
            update.step();
            update.reset();
            // The numbering runs on SQLite only.
            const int lines = sqlite3_changes(m_discharge.sqlite);
            if (lines == 0)
                throw std::runtime_error("floor: a sub-item without lines");
            changed += lines;
        }
    }
    return changed;
}

int FloorWork::itemInputs(const QString& internoValue, qint32 item)
{
    m_itemInputs.set(0, internoValue);
    m_itemInputs.set(1, int(item));
    return m_itemInputs.drain();
}
