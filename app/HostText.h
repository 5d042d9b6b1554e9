#pragma once

#include <QString>

// Number text of the host's window and tables: the user's decimal separator and, like the
// component, never a grouping separator.
class HostText
{
public:
    // The value with a fixed number of decimals.
    static QString decimal(double value, int decimals = 4);
};
