#include "StatementPipeline.h"

#include "LiteralParameters.h"
#include "PreparedStatement.h"
#include "RowReceiver.h"
#include "Visiting.h"

#include <oquivran/Recordset.h>

#include <QScopeGuard>

#include <optional>

namespace oquivran {

namespace {

using Ending = StatementDriver::Ending;

// Every row of a query, in one recordset.
class Collecting : public RowReceiver
{
public:
    void fields(const Recordset& empty) override { m_rows = empty; }
    bool row(QVariantList& values) override
    {
        m_rows.appendRow(std::move(values));
        return true;
    }
    Recordset& rows() { return m_rows; }

private:
    Recordset m_rows;
};

// Each row of a query handed to a visitor in a recordset that holds it alone, positioned on
// it. One recordset serves every row: a visitor that keeps a copy keeps the row it saw.
class Visitor : public RowReceiver
{
public:
    explicit Visitor(const std::function<bool(const Recordset&)>& visit) : m_visit(visit) {}
    void fields(const Recordset& empty) override { m_row = empty; }
    bool row(QVariantList& values) override
    {
        m_found = true;
        m_row.replaceRows(values);
        return m_visit(m_row);
    }
    bool found() const { return m_found; }

private:
    const std::function<bool(const Recordset&)>& m_visit;
    Recordset m_row;
    bool m_found = false;
};

} // namespace

StatementPipeline::StatementPipeline(StatementDriver& driver) : m_driver(driver) {}

StatementPipeline::~StatementPipeline()
{
    release();
}

StatementDriver::Connection StatementPipeline::connection()
{
    // The visited statement is kept among the others: running another now could reset or
    // release it under the visit.
    if (m_visiting)
        m_driver.fail(
            QStringLiteral("A statement cannot run while the rows of another are being read"));
    // A connection closed under its statements may open again at the same address: they go
    // first.
    if (!m_cache.isEmpty() && !m_driver.isOpen())
        release();
    const StatementDriver::Connection current = m_driver.open();
    if (!m_cache.isEmpty() && !(m_cache.connection() == current))
        release();
    return current;
}

void StatementPipeline::release()
{
    const StatementDriver::Connection kept = m_cache.connection();
    if (!kept.handle)
        return;
    m_cache.clear();
    m_driver.released(kept);
}

template <typename Step, typename Text>
bool StatementPipeline::runKept(const QString& form, const QVariantList& values, const Text& text,
                                Step& step)
{
    PreparedStatement* statement = m_cache.find(form);
    if (!statement)
        return false;
    if (step(*statement, values) == Ending::Done)
        return true;
    m_cache.remove(form);
    // A stale statement: the text runs once as written.
    runOnce(SqlLexer::lex(text()), step);
    return true;
}

template <typename Step>
void StatementPipeline::run(const SharedStatement& statement, Run kind, Step step)
{
    // A shared statement whose form is kept runs without its text being written; one that is
    // not kept yet is prepared from its text, as any other, and kept under the same form.
    if (statement.isShared()) {
        connection();
        if (runKept(
                statement.form(), statement.values(), [&] { return statement.text(); }, step))
            return;
    }
    run(statement.text(), kind, step);
}

template <typename Step> void StatementPipeline::run(const QString& sql, Run kind, Step step)
{
    const StatementDriver::Connection current = connection();
    // A text of a shape run lately, whose shared form is kept, runs without being lexed.
    QVariantList values = std::move(m_values);
    const auto giveBackValues = qScopeGuard([&] { m_values = std::move(values); });
    const QString* form = m_shapes.match(sql, values);
    if (form && runKept(
                    *form, values, [&] { return sql; }, step))
        return;
    bool runAsShared = false;
    // The text is lexed once: the tokens of its shared form are worked out from these, and
    // only when that form is prepared.
    SqlLexer::Lexed lexed = SqlLexer::lex(sql, std::move(m_tokens));
    // Given back when the run ends, after the shared form that shares it.
    const auto giveBack = qScopeGuard([&] { m_tokens = std::move(lexed.tokens); });
    if (std::optional<LiteralParameters::Result> shared = LiteralParameters::extract(lexed)) {
        // A shape found whose form is not kept (forgotten, or it does not prepare) is
        // remembered already.
        if (!form)
            m_shapes.remember(sql, *shared);
        PreparedStatement* statement = m_cache.find(shared->text);
        if (!statement) {
            if (std::unique_ptr<PreparedStatement> prepared =
                    m_driver.prepareShared(shared->lexed(), shared->values.size()))
                statement = m_cache.insert(current, shared->text, std::move(prepared));
        }
        if (statement) {
            runAsShared = true;
            if (step(*statement, shared->values) == Ending::Done)
                return;
            m_cache.remove(shared->text);
        }
    }
    // Statements kept may not outlive a change of the tables made by a text run once.
    if (kind == Run::Action && !runAsShared && !m_driver.keepsStatementsAcrossChanges())
        release();
    runOnce(lexed, step);
}

template <typename Step> void StatementPipeline::runOnce(const SqlLexer::Lexed& text, Step& step)
{
    const std::unique_ptr<PreparedStatement> once = m_driver.prepareOnce(text);
    step(*once, QVariantList());
}

template <typename Source> bool StatementPipeline::query(const Source& source, Recordset& rs)
{
    Recordset result;
    run(source, Run::Query, [&](PreparedStatement& statement, const QVariantList& values) {
        Collecting collecting;
        const Ending ending =
            m_driver.query(statement, values, StatementDriver::Reading::Whole, collecting);
        if (ending == Ending::Done)
            result = std::move(collecting.rows());
        return ending;
    });
    rs = std::move(result);
    return rs.recordCount() > 0;
}

bool StatementPipeline::open(const QString& sql, Recordset& rs)
{
    return query(sql, rs);
}

bool StatementPipeline::open(const SharedStatement& statement, Recordset& rs)
{
    return query(statement, rs);
}

template <typename Source>
bool StatementPipeline::visitRows(const Source& source,
                                  const std::function<bool(const Recordset&)>& visit,
                                  StatementDriver::Reading reading)
{
    bool found = false;
    // Stale is found before the first row is handed over, so no row is visited twice.
    run(source, Run::Query, [&](PreparedStatement& statement, const QVariantList& values) {
        Visitor visitor(visit);
        const Visiting visiting(m_visiting);
        const Ending ending = m_driver.query(statement, values, reading, visitor);
        found = visitor.found();
        return ending;
    });
    return found;
}

bool StatementPipeline::forEachRow(const QString& sql,
                                   const std::function<bool(const Recordset&)>& visit)
{
    return visitRows(sql, visit, StatementDriver::Reading::RowByRow);
}

bool StatementPipeline::forEachRow(const SharedStatement& statement,
                                   const std::function<bool(const Recordset&)>& visit,
                                   StatementDriver::Reading reading)
{
    return visitRows(statement, visit, reading);
}

template <typename Source> qint32 StatementPipeline::action(const Source& source)
{
    qint32 changed = 0;
    run(source, Run::Action, [&](PreparedStatement& statement, const QVariantList& values) {
        return m_driver.action(statement, values, changed);
    });
    return changed;
}

qint32 StatementPipeline::execute(const QString& sql)
{
    return action(sql);
}

qint32 StatementPipeline::execute(const SharedStatement& statement)
{
    return action(statement);
}

} // namespace oquivran
