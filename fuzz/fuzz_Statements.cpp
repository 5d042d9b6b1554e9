// The statement builders with arbitrary texts: a value holding a quote is refused, any other
// gives a statement whose quotes all pair up; the statement then goes through the rewriting
// for SQLite and the taking out of literals without harm, and the literals taken out match
// the parameters left.
#include "FuzzInput.h"

#include "DischargeStatements.h"
#include "LiteralParameters.h"
#include "PrintStatements.h"
#include "ScreenStatements.h"
#include "SqlValue.h"
#include "StatementRewriter.h"

#include <oquivran/RuntimeError.h>

#include <cstdlib>

using namespace oquivran;

namespace {

// True when every single quote outside a literal opens one that is closed.
bool quotesPair(const QString& sql)
{
    bool inside = false;
    for (qsizetype i = 0; i < sql.size(); ++i) {
        if (sql.at(i) != u'\'')
            continue;
        if (inside && i + 1 < sql.size() && sql.at(i + 1) == u'\'') {
            ++i;
            continue;
        }
        inside = !inside;
    }
    return !inside;
}

StatementRewriter::ColumnKind lookup(const QString&, const QString& column)
{
    if (column.startsWith(u"R"))
        return StatementRewriter::ColumnKind::Real;
    if (column.startsWith(u"D"))
        return StatementRewriter::ColumnKind::Date;
    return StatementRewriter::ColumnKind::Other;
}

QString build(int which, const QString& a, const QString& b, const QString& c, int n, double x)
{
    DipCandidate line;
    line.declaration = a;
    line.inputCode = b;
    line.ctc = c;
    line.tariffPosition = b;
    line.exportReference = a;
    line.item = qint16(n);
    line.quantity = x;
    const DischargeStatements::SubItem subItem{a, qint16(n), b, c};
    switch (which % 16) {
    case 0:
        return DischargeStatements::productMultiplier(a, b);
    case 1:
        return DischargeStatements::relations(a, b, c);
    case 2:
        return DischargeStatements::stockOfInput(a);
    case 3:
        return DischargeStatements::insertLine({subItem, x, x, QDate(2025, 1, 1).addDays(n)}, line);
    case 4:
        return DischargeStatements::deleteSubItem(subItem);
    case 5:
        return DischargeStatements::refreshAvailability(a, b, line);
    case 6:
        return DischargeStatements::groupSubItem(a, b, c);
    case 7:
        return DischargeStatements::numberItem(qint16(n), a, b);
    case 8:
        return DischargeStatements::itemInputs(n, a);
    case 9:
        return ScreenStatements::updateCtc(a, b, c);
    case 10:
        return ScreenStatements::updateExportReference(a, b, c);
    case 11:
        return ScreenStatements::stockSearch(a, n % 2
                                                    ? ScreenStatements::StockFilter::AllLines
                                                    : ScreenStatements::StockFilter::AvailableOnly);
    case 12:
        return PrintStatements::summedLines(a, qint16(n));
    case 13:
        return PrintStatements::controlLines(a, qint16(n));
    case 14:
        return PrintStatements::recordExportData(a, b, c, a);
    default:
        return DischargeStatements::dischargedSum(line);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzInput input(data, size);
    const int which = input.byte();
    const int n = input.byte() * 256 + input.byte() - 32768;
    const double x = input.real();
    const QString a = input.text(size_t(input.byte() % 32));
    const QString b = input.text(size_t(input.byte() % 32));
    const QString c = input.rest();

    QString sql;
    try {
        sql = build(which, a, b, c, n, x);
    } catch (const RuntimeError&) {
        // Refused: only for a value holding a quote.
        if (!a.contains(u'\'') && !b.contains(u'\'') && !c.contains(u'\''))
            std::abort();
        return 0;
    }
    if (!quotesPair(sql))
        std::abort();
    for (const QString& text : {sql, QString(a + b + c)}) {
        StatementRewriter::rewrite(text, lookup);
        // Parameters are counted outside quotes only; comments and quoted names are left out.
        const bool plain = !text.contains(u"--") && !text.contains(u"/*") && !text.contains(u'"') &&
                           !text.contains(u'`') && !text.contains(u'[');
        if (const auto shared = LiteralParameters::extract(text); shared && plain) {
            qsizetype parameters = 0;
            bool inside = false;
            for (const QChar ch : shared->text) {
                if (ch == u'\'')
                    inside = !inside;
                else if (ch == u'?' && !inside)
                    ++parameters;
            }
            if (parameters != shared->values.size())
                std::abort();
        }
    }
    try {
        SqlValue::text(c);
        if (c.contains(u'\''))
            std::abort();
    } catch (const RuntimeError&) {
        if (!c.contains(u'\''))
            std::abort();
    }
    return 0;
}
