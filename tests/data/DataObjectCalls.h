#pragma once

#include "NumberText.h"

#include <oquivran/DataObject.h>
#include <oquivran/Recordset.h>
#include <oquivran/RuntimeError.h>

#include <QString>

#include <functional>

// The calls the data-object tests make over and over, on any data object.
namespace DataObjectCalls {

// Runs sql as an action statement; returns the records affected.
inline qint32 run(oquivran::DataObject& dao, const QString& sql)
{
    dao.setSql(sql);
    return dao.execute();
}

// Runs sql as a query; returns its rows.
inline oquivran::Recordset rows(oquivran::DataObject& dao, const QString& sql)
{
    oquivran::Recordset rs;
    dao.setSql(sql);
    dao.open(rs);
    return rs;
}

// The error a call raises; number 0 when it raises none.
inline oquivran::RuntimeError errorOf(const std::function<void()>& call)
{
    try {
        call();
    } catch (const oquivran::RuntimeError& error) {
        return error;
    }
    return oquivran::RuntimeError(0, QString());
}

// A number as a quoted literal in the locale's notation.
inline QString quoted(double value)
{
    return u'\'' + oquivran::NumberText::toText(value) + u'\'';
}

} // namespace DataObjectCalls
