#pragma once

#include "LiteralParameters.h"
#include "SharedStatement.h"

#include <QRandomGenerator>
#include <QtTest>

#include <optional>

// A text of up to 12 characters from those a value may hold: letters, digits, blanks,
// signs, question marks, accents and a euro sign, but no quote. One in eight is null.
inline QString randomValueText(QRandomGenerator& random)
{
    static const QString alphabet = QStringLiteral("aZ09 -.,?_/()ñú€");
    QString text;
    for (int i = random.bounded(13); i > 0; --i)
        text += alphabet.at(random.bounded(int(alphabet.size())));
    return random.bounded(8) == 0 ? QString() : text;
}

// What the pipeline runs a statement by must be what it would take out of the statement's
// text: the same form, the same values of the same types. Fails the test at the first
// difference.
inline void compareWithTaken(const oquivran::SharedStatement& statement, const QString& text)
{
    QCOMPARE(statement.text(), text);
    QVERIFY(statement.isShared());
    const std::optional<oquivran::LiteralParameters::Result> taken =
        oquivran::LiteralParameters::extract(text);
    QVERIFY2(taken, qPrintable(text));
    QCOMPARE(statement.form(), taken->text);
    QCOMPARE(statement.values().size(), taken->values.size());
    for (qsizetype i = 0; i < taken->values.size(); ++i) {
        QCOMPARE(statement.values().at(i).typeId(), taken->values.at(i).typeId());
        QCOMPARE(statement.values().at(i), taken->values.at(i));
        QCOMPARE(statement.values().at(i).toString().isNull(),
                 taken->values.at(i).toString().isNull());
    }
}
