#pragma once

#include "LiteralShapes.h"
#include "SharedStatement.h"
#include "SqlLexer.h"
#include "StatementCache.h"
#include "StatementDriver.h"

#include <QString>

#include <functional>

namespace oquivran {

class Recordset;

// How every data object runs the component's text, whatever its database: the text's literals
// are taken out as values (LiteralParameters; for a text of a shape run lately, LiteralShapes
// without lexing it), its shared form is looked up among the
// statements kept and prepared by the driver when it is not there, the values are bound, the
// driver steps through the rows and decodes them, and the pipeline builds the recordset. A
// text that is not shared, or whose shared form does not prepare, is prepared for one run as
// written, so its errors read as they would. Use it from one thread.
class StatementPipeline
{
public:
    // Needs a driver that outlives the pipeline.
    explicit StatementPipeline(StatementDriver& driver);
    ~StatementPipeline();
    StatementPipeline(const StatementPipeline&) = delete;
    StatementPipeline& operator=(const StatementPipeline&) = delete;

    // Runs sql as a query and replaces rs with its rows (its fields, no rows, for a statement
    // that returns none). Returns true when rows came back. Throws RuntimeError.
    bool open(const QString& sql, Recordset& rs);
    // The same of a statement built shared: its form, when kept, runs with its values and its
    // text is not written; otherwise its text runs as above.
    bool open(const SharedStatement& statement, Recordset& rs);
    // Runs sql as a query and hands its rows to visit, each as a recordset positioned on it,
    // until visit returns false; rows after that are not read. A statement run through the
    // pipeline meanwhile throws RuntimeError. Returns true when rows came back.
    bool forEachRow(const QString& sql, const std::function<bool(const Recordset&)>& visit);
    // The same of a statement built shared, as open() runs one. With Reading::Whole the rows
    // are read all at once, as open() reads them, and then handed over one by one: for a walk
    // over every row, which the server then sends in one piece.
    bool forEachRow(const SharedStatement& statement,
                    const std::function<bool(const Recordset&)>& visit,
                    StatementDriver::Reading reading = StatementDriver::Reading::RowByRow);
    // Runs sql as an action statement; the number of records it changed. Throws RuntimeError.
    qint32 execute(const QString& sql);
    // The same of a statement built shared, as open() runs one.
    qint32 execute(const SharedStatement& statement);

    // The connection, opened and set up when needed, with the statements of a connection that
    // closed or changed under them released. Throws RuntimeError while the rows of a query
    // are being visited, and when the driver cannot open it.
    StatementDriver::Connection connection();
    // Releases every statement kept, then lets the driver finish with their connection.
    void release();

private:
    enum class Run { Query, Action };
    template <typename Source> bool query(const Source& source, Recordset& rs);
    template <typename Source>
    bool visitRows(const Source& source, const std::function<bool(const Recordset&)>& visit,
                   StatementDriver::Reading reading);
    template <typename Source> qint32 action(const Source& source);
    template <typename Step> void run(const QString& sql, Run kind, Step step);
    template <typename Step> void run(const SharedStatement& statement, Run kind, Step step);
    // Runs the statement kept under form with values; false when none is kept. One found stale
    // is forgotten and the text runs once as written.
    template <typename Step, typename Text>
    bool runKept(const QString& form, const QVariantList& values, const Text& text, Step& step);
    // Runs a text as written, prepared for this run only, with no values to bind.
    template <typename Step> void runOnce(const SqlLexer::Lexed& text, Step& step);

    StatementDriver& m_driver;
    StatementCache m_cache;
    LiteralShapes m_shapes;
    // The token list of the text run before, room for the next one's.
    QList<SqlLexer::Token> m_tokens;
    // The values taken out of the text being run, kept for the next run to fill again.
    QVariantList m_values;
    bool m_visiting = false;
};

} // namespace oquivran
