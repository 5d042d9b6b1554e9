#pragma once

#include "LocaleRules.h"

#include <QString>

// Writes test expectations once for every locale: in a template "." stands for the decimal
// separator and "_" for the grouping separator of the locale.
inline QString localeText(const QString& pattern,
                          const oquivran::LocaleRules& rules = oquivran::LocaleRules::system())
{
    QString text;
    for (const QChar c : pattern) {
        if (c == u'.')
            text += rules.decimalSeparator();
        else if (c == u'_')
            text += rules.groupSeparator();
        else
            text += c;
    }
    return text;
}
