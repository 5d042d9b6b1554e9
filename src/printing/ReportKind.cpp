#include "ReportKind.h"

#include "FieldPositions.h"
#include "ModuleState.h"
#include "NumberFormat.h"
#include "ReportBuffer.h"
#include "ValueConversion.h"

#include <oquivran/Recordset.h>

namespace oquivran {

namespace {

// A line's loss and shrinkage, each by its kind (a quantity or a percentage) and its figure;
// the lines of every sub-item come from one kept statement, whose fields are found once.
enum LossField { LossKind, LossFigure, ShrinkageKind, ShrinkageFigure };
FieldPositions lossPositions({QStringLiteral("TRPPER"), QStringLiteral("RIPPER"),
                              QStringLiteral("TRPMER"), QStringLiteral("RIPMER")});

} // namespace

ReportKind::~ReportKind() = default;

QString ReportKind::headingPrefix(const QString& idarticulo) const
{
    Q_UNUSED(idarticulo);
    return QString();
}

bool ReportKind::rulesUnderTitles() const
{
    return false;
}

void ReportKind::appendClosing(const ReportTotals& totals) const
{
    Q_UNUSED(totals);
    ReportBuffer::append(LineKind::Title, QString());
    ReportBuffer::append(LineKind::Title, rule(ruleLength()));
}

double ReportKind::Porcentaje(double a, double b)
{
    return a * b / 100.0;
}

double ReportKind::lossOrShrinkage(const QVariant& kind, const QVariant& figure, double base)
{
    const double value = ValueConversion::toReal(figure);
    return ValueConversion::toReal(kind) == 0 ? Porcentaje(value, base) : value;
}

void ReportKind::lossAndShrinkage(const Recordset& row, double base, ReportTotals& totals,
                                  QString& loss, QString& shrinkage)
{
    const QString& pattern = moduleState().secondFormat;
    const QList<int>& at = lossPositions.in(row);
    const double lossFigure = lossOrShrinkage(row.at(at[LossKind]), row.at(at[LossFigure]), base);
    const double shrinkageFigure =
        lossOrShrinkage(row.at(at[ShrinkageKind]), row.at(at[ShrinkageFigure]), base);
    const double shownLoss = NumberFormat::print(loss, lossFigure, pattern);
    const double shownShrinkage = NumberFormat::print(shrinkage, shrinkageFigure, pattern);
    totals.loss += shownLoss;
    totals.shrinkage += shownShrinkage;
}

QString ReportKind::linesQuery(const QString& interno, qint16 idsub) const
{
    return linesStatement(interno, idsub).text();
}

QString ReportKind::rule(int length)
{
    return QString(length, u'-');
}

QString ReportKind::text(const Recordset& row, const QString& field)
{
    return ValueConversion::toText(row.value(field));
}

double ReportKind::real(const Recordset& row, const QString& field)
{
    return ValueConversion::toReal(row.value(field));
}

QString ReportKind::text(const Recordset& row, int position)
{
    return ValueConversion::toText(row.at(position));
}

double ReportKind::real(const Recordset& row, int position)
{
    return ValueConversion::toReal(row.at(position));
}

QString ReportKind::formatted(const Recordset& row, const QString& field, const QString& pattern)
{
    return NumberFormat::format(real(row, field), pattern);
}

QString ReportKind::formatted(const Recordset& row, int position, const QString& pattern)
{
    return NumberFormat::format(real(row, position), pattern);
}

void ReportKind::formatted(QString& text, const Recordset& row, int position,
                           const QString& pattern)
{
    NumberFormat::write(text, real(row, position), pattern);
}

double ReportKind::shown(double value, const QString& pattern)
{
    // The formatted text read back, without reading it.
    return NumberFormat::rounded(value, pattern);
}

qint16 ReportKind::byMode(qint16 normal, qint16 extended)
{
    return moduleState().extendedDecimals ? extended : normal;
}

} // namespace oquivran
