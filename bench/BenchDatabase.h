#pragma once

#include <QList>
#include <QString>

// The databases the benchmarks run on: a discharge database with a given number of stock lines
// and a discharge history in proportion, and the host database of its operations. Generated
// once with the SQLite C interface and kept in a cache folder, so later runs reuse them.
//
// Shape, for N stock lines: N / 20 declarations (one every few days over fourteen years, about one
// in fifty not authorised), each with 20 stock lines (items 1 to 20); N / 20 input codes, each on
// 20 declarations spread over the years. The stock of the oldest 60% of the declarations is
// discharged in full and the next line of each input in part, by history operations of 10
// sub-items (about 0.8 N discharge lines). Operations R10, R100 and R1000 (and R5000 from 100k
// stock lines on) hold 10, 100, 1,000 (and 5,000) sub-items of 3 lines each, two sub-items per
// item, numbered by item. Products P10, P100
// and P500 (catalog CAT, multiplier 1) consume 10, 100 and 500 inputs spread over the codes.
class BenchDatabase
{
public:
    // Finds or generates the databases of `lines` stock lines under folder.
    BenchDatabase(int lines, const QString& folder);

    // The number of stock lines.
    int lines() const { return m_lines; }
    // The discharge database file (DIP, RIP, PRD, INS, INTINS).
    QString dischargePath() const { return m_dischargePath; }
    // The host database file (item, groupsubitems, facturas).
    QString hostPath() const { return m_hostPath; }
    // The sub-item counts of the report operations R<count> of a database of `lines` stock
    // lines.
    static QList<int> reportSizes(int lines);
    // The input code of an input number, as the generator writes it.
    static QString inputCode(int input);

private:
    void generate() const;

    int m_lines;
    QString m_dischargePath;
    QString m_hostPath;
};
