#pragma once

#include "HostDatabases.h"
#include "TextTable.h"

#include <QCommandLineOption>
#include <QCommandLineParser>
#include <QDate>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <cstddef>
#include <memory>
#include <optional>
#include <utility>

class ConsoleMessages;
class ExportOperation;
class QTextStream;

namespace oquivran {
class clQUIVRAN;
} // namespace oquivran

// The exit codes of the host in order, each with its line under "Códigos de salida:" in
// --help; a line break in the text continues it under the first line.
// clang-format off
#define OQUIVRAN_HOST_EXIT_CODES(code)                                                           \
    code(Success, 0, "correcto")                                                                 \
    /* unknown subcommand or option, missing or invalid value */                                 \
    code(UsageError, 1, "uso incorrecto (subcomando, opción o valor)")                           \
    /* a database file does not exist or cannot be opened (or has no audit trail, for audit) */ \
    code(DatabaseMissing, 2, "falta una base de datos o no se puede abrir")                      \
    /* unknown operation, sub-item or item */                                                    \
    code(NotFound, 3, "operación, subítem o ítem desconocido")                                   \
    /* the component refused a discharge or a removal */                                         \
    code(Refused, 4, "el componente rechazó una descarga o una eliminación")                     \
    /* check-stock found lines whose availability is wrong, or over-discharged lines (never      \
       repaired) */                                                                              \
    code(StockDifferences, 5, "check-stock encontró líneas con disponibilidad incorrecta")       \
    /* numbering or printing failed, or --out cannot be written */                               \
    code(Failed, 6, "falló la numeración o la impresión")                                        \
    /* expiring found stock whose temporary import has expired */                                \
    code(Expired, 7, "expiring encontró stock con la importación temporal vencida")              \
    /* a discharge or removal failed because the database could not be reached or stayed busy   \
       with other operators' units beyond the wait */                                            \
    code(DatabaseUnavailable, 8,                                                                 \
         "una descarga o eliminación no se escribió porque la base de datos\n"                   \
         "no respondió o siguió ocupada por otros operadores más allá de la\n"                   \
         "espera (nada quedó escrito: puede intentarse de nuevo)")                               \
    /* the server refused the connection or could not be reached (its own text says why) */     \
    code(ConnectionFailed, 9,                                                                    \
         "no se pudo conectar con el servidor de la base de datos (el\n"                          \
         "mensaje dice por qué: servidor, puerto, usuario o contraseña)")                         \
    /* print found another official number and date recorded and --replace was not given */     \
    code(RecordedExportData, 10,                                                                 \
         "print no reemplazó el número y la fecha oficiales ya registrados\n"                    \
         "de la operación (use --replace)")
// clang-format on

// What every headless subcommand of the host shares: its parsed options, the databases, the
// component and its messages, the output streams, the option helpers and the writer of
// results. Each subcommand derives from it in a file of its own under commands/, and the
// table in HostCommands.cpp names it. Results go to standard output as tables, progress and
// the component's messages to standard error.
class HostCommand
{
public:
#define OQUIVRAN_HOST_EXIT_CODE(name, value, text) name = value,
    enum ExitCode { OQUIVRAN_HOST_EXIT_CODES(OQUIVRAN_HOST_EXIT_CODE) };
#undef OQUIVRAN_HOST_EXIT_CODE

    // The exit codes as --help lists them, under "Códigos de salida:".
    static QString exitCodesText();
    // Standard output and standard error, one stream each for the whole program.
    static QTextStream& out();
    static QTextStream& err();
    // Prints why databases could not be opened (status is what open() returned) and returns
    // the exit code to end with: UsageError for a location that is no database,
    // ConnectionFailed when the server refused or could not be reached, else
    // DatabaseMissing (with how to create what is missing when status is NotFound).
    static int openFailure(const HostDatabases& databases, HostDatabases::Status status);

    // Turns the audit trail on in the name of operatorName (when empty the database's user)
    // when the open discharge database holds it; prints why not. Returns the exit code to end
    // with: Success (also without the trail), UsageError for a name holding a quote.
    static int auditAs(const HostDatabases& databases, const QString& operatorName);

    // Options several subcommands take.
    static QCommandLineOption subItemOption();
    static QCommandLineOption allOption();
    static QCommandLineOption formatOption();

    // A text an option may hold and the value it selects; a note, where there is one, follows
    // the text in parentheses where --help lists the choices. An option's choices are one
    // table of these: a new choice is one more row.
    template <typename Value> struct Choice
    {
        const char* text;
        Value value;
        const char* note = nullptr;
    };
    // Whether choicesText() says each choice's note.
    enum class Notes {
        Left,
        Said,
    };
    // The texts of choices in order as "a, b o c", each followed by its note when notes is
    // Said.
    template <typename Value, std::size_t count>
    static QString choicesText(const Choice<Value> (&choices)[count], Notes notes);
    // The value of the choice whose text parser's option name holds. None when it holds any
    // other text, said on standard error as "unknownText: text (a, b o c)".
    template <typename Value, std::size_t count>
    static std::optional<Value> choiceOption(const QCommandLineParser& parser, const QString& name,
                                             const Choice<Value> (&choices)[count],
                                             const char* unknownText);
    // The result format --format names (Table when it is not given); none, said on standard
    // error, when it names none.
    static std::optional<TextTable::Format> format(const QCommandLineParser& parser);

    // parser holds the subcommand's parsed options (it must outlive the command); format is
    // the result format chosen.
    HostCommand(const QCommandLineParser& parser, TextTable::Format format);
    virtual ~HostCommand();
    HostCommand(const HostCommand&) = delete;
    HostCommand& operator=(const HostCommand&) = delete;

    // Runs the subcommand; returns its exit code.
    virtual int run() = 0;

protected:
    // Opens the databases and binds them to a new component, with the audit trail on in the
    // name of --operator (else the database's user) when the discharge database holds it;
    // prints why not. Returns the exit code to end with, Success when open.
    int openDatabases();
    // Opens the databases, then loads the operation of --operation and sets the component's
    // messages to answer as --yes says; prints why not. Returns Success when loaded.
    int openOperation();
    // What a refusal the component just reported means: DatabaseUnavailable when it was the
    // database's (a conflict that outlasted the wait, a connection that broke or could not be
    // opened), else Refused (the discharge rules).
    int refusal() const;
    // Of two exit codes of a run over several sub-items, the one to end with.
    static int worstOf(int exitCode, int next);

    // Opens the operation as openOperation() does, then adds to selected the sub-items
    // --subitem or --all name; prints why not. Returns Success when they are selected (none,
    // with --all, when the operation has no sub-items).
    int openSubItems(QList<int>& selected);
    // The whole number an option holds, from minimum to maximum; none when it holds anything
    // else, said on standard error as invalidText (by default "Valor inválido para --name:
    // ..." with the range).
    std::optional<int> wholeOption(const QString& name, int minimum, int maximum,
                                   const QString& invalidText = QString()) const;
    // The same for any whole number.
    std::optional<int> wholeOption(const QString& name, const QString& invalidText) const;
    // The date an option holds, ISO or in the locale's format; none, said on standard error,
    // when it holds no date.
    std::optional<QDate> dateOption(const QString& name) const;
    // A date option as the component reads dates: ISO text becomes the locale's day and month
    // order; other text is passed as typed.
    static QString dateText(const QString& text);

    // A table of a subcommand's result: its key in JSON, its heading in the text table.
    struct Section
    {
        QString key;
        QString heading;
        const TextTable* table;
    };
    // Writes the result in the --format chosen: the sections' tables one after the other
    // (CSV: separated by an empty line), or one JSON object holding fields and the sections.
    void write(const QList<std::pair<QString, QVariant>>& fields,
               const QList<Section>& sections) const;

    const QCommandLineParser& m_parser;
    const TextTable::Format m_format;
    std::unique_ptr<HostDatabases> m_databases;
    std::unique_ptr<ExportOperation> m_operation;
    std::unique_ptr<oquivran::clQUIVRAN> m_component;
    std::unique_ptr<ConsoleMessages> m_messages;

private:
    // items as a list in words: "a", "a o b", "a, b o c".
    static QString listed(const QStringList& items);
    // Says on standard error that the text an option holds is none of its choices.
    static void sayUnknown(const char* unknownText, const QString& text, const QString& choices);
};

template <typename Value, std::size_t count>
QString HostCommand::choicesText(const Choice<Value> (&choices)[count], Notes notes)
{
    QStringList items;
    for (const Choice<Value>& choice : choices) {
        QString item = QString::fromUtf8(choice.text);
        if (notes == Notes::Said && choice.note)
            item += QStringLiteral(" (%1)").arg(QString::fromUtf8(choice.note));
        items << item;
    }
    return listed(items);
}

template <typename Value, std::size_t count>
std::optional<Value>
HostCommand::choiceOption(const QCommandLineParser& parser, const QString& name,
                          const Choice<Value> (&choices)[count], const char* unknownText)
{
    const QString text = parser.value(name);
    for (const Choice<Value>& choice : choices) {
        if (text == QLatin1String(choice.text))
            return choice.value;
    }
    sayUnknown(unknownText, text, choicesText(choices, Notes::Left));
    return std::nullopt;
}
