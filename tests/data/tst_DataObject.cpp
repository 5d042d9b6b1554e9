#include <oquivran/DataObject.h>
#include <oquivran/Recordset.h>

#include <QtTest>

using namespace oquivran;

namespace {

// A host's own data object that only knows how to open whole queries: rows "1".."n".
class CountingDataObject : public DataObject
{
public:
    explicit CountingDataObject(int rows) : m_rows(rows) {}
    bool open(Recordset& rs) override
    {
        ++opened;
        rs = Recordset(QStringList{QStringLiteral("n")});
        for (int i = 1; i <= m_rows; ++i)
            rs.appendRow({i});
        return m_rows > 0;
    }
    qint32 execute() override { return 0; }
    int opened = 0;

private:
    int m_rows;
};

} // namespace

class tst_DataObject : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void forEachRowWalksOpenedRows();
    void forEachRowWithoutRows();
};

// An object without its own forEachRow opens the whole query once and walks it, each row
// current in turn, until the visitor stops.
void tst_DataObject::forEachRowWalksOpenedRows()
{
    CountingDataObject data(4);
    QList<int> seen;
    QVERIFY(data.forEachRow([&](const Recordset& row) {
        seen << row.value(QStringLiteral("n")).toInt();
        return seen.size() < 3;
    }));
    QCOMPARE(seen, QList<int>({1, 2, 3}));
    QCOMPARE(data.opened, 1);
}

void tst_DataObject::forEachRowWithoutRows()
{
    CountingDataObject data(0);
    int visits = 0;
    QVERIFY(!data.forEachRow([&](const Recordset&) {
        ++visits;
        return true;
    }));
    QCOMPARE(visits, 0);
}

QTEST_GUILESS_MAIN(tst_DataObject)
#include "tst_DataObject.moc"
