#pragma once

#include <QList>
#include <QSqlDatabase>
#include <QString>

#include <functional>

// The stock invariant of the discharge database: every stock line's available quantity
// ARTDSC equals its declared quantity ARTCAT less the sum of the quantities DIPCAN discharged
// from it, over every operation.
class CheckStock
{
public:
    // A stock line whose ARTDSC differs from ARTCAT - sum(DIPCAN).
    struct Difference
    {
        QString declaration;
        QString input;
        int item = 0;
        int subItem = 0;
        double declared = 0;
        double discharged = 0;
        double available = 0;
        double expected = 0;
    };
    using Progress = std::function<void(int checked, int total)>;

    explicit CheckStock(const QSqlDatabase& discharge);

    // The stock lines that break the invariant (differences above tolerance), in
    // declaration order. progress, when set, is told every 500 lines and at the end.
    QList<Difference> differences(const Progress& progress = {}, double tolerance = 1e-6) const;
    // Writes the expected ARTDSC on each line. False when an update failed (error set).
    bool repair(const QList<Difference>& differences, QString& error) const;

private:
    QSqlDatabase m_discharge;
};
