#include "BenchDatabase.h"

#include "Schema.h"

#include <QDate>
#include <QDir>
#include <QFile>
#include <QStringList>

#include <cmath>
#include <stdexcept>
#include <string>

#include <sqlite3.h>

namespace {

// Bumped whenever the shape changes, so stale cached files are not reused.
constexpr int ShapeVersion = 3;

constexpr int LinesPerDeclaration = 20;

void check(sqlite3* db, int rc, const char* what)
{
    if (rc != SQLITE_OK && rc != SQLITE_DONE && rc != SQLITE_ROW)
        throw std::runtime_error(std::string(what) + ": " + sqlite3_errmsg(db));
}

void exec(sqlite3* db, const QString& sql)
{
    check(db, sqlite3_exec(db, sql.toUtf8().constData(), nullptr, nullptr, nullptr),
          "generator statement");
}

// A prepared insert, bound by position and run once per row.
class Insert
{
public:
    Insert(sqlite3* db, const char* sql) : m_db(db)
    {
        check(db, sqlite3_prepare_v2(db, sql, -1, &m_statement, nullptr), sql);
    }
    ~Insert() { sqlite3_finalize(m_statement); }
    Insert& text(int index, const std::string& value)
    {
        sqlite3_bind_text(m_statement, index, value.c_str(), int(value.size()), SQLITE_TRANSIENT);
        return *this;
    }
    Insert& whole(int index, sqlite3_int64 value)
    {
        sqlite3_bind_int64(m_statement, index, value);
        return *this;
    }
    Insert& real(int index, double value)
    {
        sqlite3_bind_double(m_statement, index, value);
        return *this;
    }
    Insert& null(int index)
    {
        sqlite3_bind_null(m_statement, index);
        return *this;
    }
    void run()
    {
        check(m_db, sqlite3_step(m_statement), "generator insert");
        sqlite3_reset(m_statement);
    }

private:
    sqlite3* m_db;
    sqlite3_stmt* m_statement = nullptr;
};

sqlite3* openFresh(const QString& path)
{
    QFile::remove(path);
    sqlite3* db = nullptr;
    if (sqlite3_open(path.toUtf8().constData(), &db) != SQLITE_OK)
        throw std::runtime_error("cannot create " + path.toStdString());
    exec(db, QStringLiteral("PRAGMA journal_mode=OFF"));
    exec(db, QStringLiteral("PRAGMA synchronous=OFF"));
    return db;
}

void finish(sqlite3* db)
{
    exec(db, QStringLiteral("COMMIT"));
    exec(db, QStringLiteral("PRAGMA journal_mode=WAL"));
    sqlite3_close(db);
}

// One declaration in about fifty is not authorised, scattered so that no input has all of its
// declarations among them.
bool notAuthorised(int declaration)
{
    return (quint32(declaration) * 2654435761u >> 8) % 50 == 0;
}

std::string isoDate(const QDate& date)
{
    return date.toString(Qt::ISODate).toStdString();
}

std::string declarationNumber(int declaration)
{
    return QStringLiteral("D%1IT").arg(declaration, 8, 10, QChar(u'0')).toStdString();
}

// One stock line's key and figures.
struct StockLine
{
    int declaration;
    int item;
    int input;
    double declared;
    double available;
    double price;
};

} // namespace

BenchDatabase::BenchDatabase(int lines, const QString& folder) : m_lines(lines)
{
    QDir().mkpath(folder);
    const QString stem = QStringLiteral("%1/v%2-%3-").arg(folder).arg(ShapeVersion).arg(lines);
    m_dischargePath = stem + QStringLiteral("discharge.sqlite");
    m_hostPath = stem + QStringLiteral("host.sqlite");
    if (!QFile::exists(m_dischargePath) || !QFile::exists(m_hostPath))
        generate();
}

QList<int> BenchDatabase::reportSizes(int lines)
{
    // 5,000 sub-items take 15,000 discharge lines: only a database of 100k stock lines or more
    // leaves history enough beside them.
    if (lines >= 100000)
        return {10, 100, 1000, 5000};
    return {10, 100, 1000};
}

QString BenchDatabase::inputCode(int input)
{
    return QStringLiteral("I%1").arg(input, 7, 10, QChar(u'0'));
}

void BenchDatabase::generate() const
{
    const int declarations = m_lines / LinesPerDeclaration;
    const int inputs = declarations;
    const int discharged = declarations * 6 / 10;
    const QDate firstDate(2012, 1, 1);
    const double daysPerDeclaration = 5000.0 / declarations;

    const QString dischargeTemp = m_dischargePath + QStringLiteral(".part");
    const QString hostTemp = m_hostPath + QStringLiteral(".part");
    sqlite3* db = openFresh(dischargeTemp);
    for (const QString& statement :
         oquivran::Schema::statements(oquivran::Schema::Database::Discharge))
        exec(db, statement);
    exec(db, QStringLiteral("BEGIN"));
    sqlite3* host = openFresh(hostTemp);
    for (const QString& statement : oquivran::Schema::statements(oquivran::Schema::Database::Host))
        exec(host, statement);
    exec(host, QStringLiteral("BEGIN"));

    {
        Insert declaration(db,
                           "insert into INTINS (INTDCL, INTFOF, INTIOK, INTVEN, INTADU, INTCTC) "
                           "values (?, ?, ?, ?, '001', '')");
        for (int d = 0; d < declarations; ++d) {
            const QDate official = firstDate.addDays(qint64(d * daysPerDeclaration));
            declaration.text(1, declarationNumber(d))
                .text(2, isoDate(official))
                .whole(3, notAuthorised(d) ? 0 : 1)
                .text(4, isoDate(official.addYears(2)))
                .run();
        }
    }

    {
        Insert stock(db, "insert into INS (INTDCL, ARTNRO, ARTITM, ARTSBT, ARTCAT, ARTDSC, ARTPRE, "
                         "ARTNCM, ARTCTC, INSEXP) values (?, ?, ?, 1, ?, ?, ?, '1234.56.78', "
                         "'CTC1', '')");
        Insert line(db, "insert into DIP (EXTINT, EXTSBT, EXTITM, idroot, ARTDCL, ARTNRO, ARTITM, "
                        "ARTSBT, ARTPRE, CATNRO, PRDNRO, PRDMUL, TRPMER, TRPPER, DIPOBL, DIPCTC, "
                        "DIPEXP, ARTNCM, DIPCAN, RIPMER, RIPPER, RIPCAN, DIPFEC, DIPUSR, RALCAN) "
                        "values (?, ?, ?, null, ?, ?, ?, 1, ?, 'CAT', 'HIST', 1, 0, 1, 0, 'CTC1', "
                        "'', '1234.56.78', ?, 2, 0.5, 1.5, '2020-01-01', '', ?)");
        Insert item(host, "insert into item (id, interno, cancelaciones) values (?, ?, 'OK')");
        Insert subItem(host,
                       "insert into groupsubitems (interno, id, idsub, idcatalogo, idarticulo, "
                       "cantidad, cancelaciones) values (?, ?, ?, 'CAT', 'P10', 10, 'OK')");

        // Discharge lines go to the report operations first, then to history operations.
        const QList<int> reportSizes = BenchDatabase::reportSizes(m_lines);
        int row = 0;
        const auto addLine = [&](const StockLine& s, double quantity) {
            std::string operation;
            int sub = 0;
            int itemNumber = 0;
            int base = 0;
            for (const int size : reportSizes) {
                if (row < base + size * 3) {
                    operation = "R" + std::to_string(size);
                    sub = (row - base) / 3 + 1;
                    itemNumber = (sub - 1) / 2 + 1;
                    if ((row - base) % 3 == 0) {
                        if (sub % 2 == 1)
                            item.whole(1, itemNumber).text(2, operation).run();
                        subItem.text(1, operation).whole(2, itemNumber).whole(3, sub).run();
                    }
                    break;
                }
                base += size * 3;
            }
            if (operation.empty()) {
                const int history = row - base;
                operation = "H" + std::to_string(history / 50);
                sub = history % 50 / 5 + 1;
            }
            line.text(1, operation)
                .whole(2, sub)
                .whole(3, itemNumber)
                .text(4, declarationNumber(s.declaration))
                .text(5, inputCode(s.input).toStdString())
                .whole(6, s.item)
                .real(7, s.price)
                .real(8, quantity)
                .real(9, quantity)
                .run();
            ++row;
        };

        for (int j = 0; j < m_lines; ++j) {
            StockLine s;
            s.declaration = j / LinesPerDeclaration;
            s.item = j % LinesPerDeclaration + 1;
            s.input = j % inputs;
            // Quarters only, so sums of discharges are exact.
            s.declared = 50 + (j * 37 % 450) + (j % 4) * 0.25;
            s.price = 1 + (j % 40) * 0.25;
            s.available = s.declared;
            const int previous = j - inputs;
            if (s.declaration < discharged) {
                s.available = 0;
            } else if (previous < 0 || previous / LinesPerDeclaration < discharged) {
                // The first line of the input after the discharged ones: a small remainder.
                s.available = 1.5 + (j % 7) * 0.25;
            }
            const double taken = s.declared - s.available;
            if (taken > 0) {
                if (j % 3 == 0) {
                    const double first = std::floor(taken / 2 * 4) / 4;
                    addLine(s, first);
                    addLine(s, taken - first);
                } else {
                    addLine(s, taken);
                }
            }
            stock.text(1, declarationNumber(s.declaration))
                .text(2, inputCode(s.input).toStdString())
                .whole(3, s.item)
                .real(4, s.declared)
                .real(5, s.available)
                .real(6, s.price)
                .run();
        }
    }

    {
        Insert product(db, "insert into PRD (CATNRO, PRDNRO, PRDMUL) values ('CAT', ?, 1)");
        Insert relation(db, "insert into RIP (CATNRO, PRDNRO, ARTNRO, RPADES, RIPCAN, RIPMER, "
                            "RIPPER, TRPMER, TRPPER, DIPOBL) values ('CAT', ?, ?, 'Insumo', ?, "
                            "2, 0.5, 0, 1, 0)");
        for (const int size : {10, 100, 500}) {
            const std::string name = "P" + std::to_string(size);
            product.text(1, name).run();
            for (int i = 0; i < size; ++i)
                relation.text(1, name)
                    .text(2, inputCode(int(qint64(i) * inputs / size)).toStdString())
                    .real(3, 0.25 + (i % 5) * 0.25)
                    .run();
        }
    }
    finish(db);
    finish(host);
    QFile::remove(m_dischargePath);
    QFile::remove(m_hostPath);
    if (!QFile::rename(dischargeTemp, m_dischargePath) || !QFile::rename(hostTemp, m_hostPath))
        throw std::runtime_error("cannot move the generated databases into place");
}
