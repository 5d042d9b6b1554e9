#include "HostCommand.h"
#include "HostText.h"

#include "ConsoleMessages.h"
#include "ExportOperation.h"
#include "HostDatabases.h"

#include <oquivran/oquivran.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <QTextStream>

#include <limits>

namespace {

// The values of --format; the first is the one taken when it is not given.
const HostCommand::Choice<TextTable::Format> formats[] = {
    {"table", TextTable::Format::Table, "por omisión"},
    {"csv", TextTable::Format::Csv},
    {"json", TextTable::Format::Json},
};

} // namespace

QString HostCommand::exitCodesText()
{
    struct Line
    {
        int code;
        const char* text;
    };
#define OQUIVRAN_HOST_EXIT_CODE(name, value, text) Line{value, text},
    static constexpr Line lines[] = {OQUIVRAN_HOST_EXIT_CODES(OQUIVRAN_HOST_EXIT_CODE)};
#undef OQUIVRAN_HOST_EXIT_CODE
    QString text = QStringLiteral("Códigos de salida:\n");
    for (const Line& line : lines)
        text += QStringLiteral("  %1  %2\n")
                    .arg(QString::number(line.code),
                         QString::fromUtf8(line.text).replace(u'\n', QStringLiteral("\n     ")));
    return text;
}

QTextStream& HostCommand::out()
{
    static QTextStream stream(stdout);
    return stream;
}

QTextStream& HostCommand::err()
{
    static QTextStream stream(stderr);
    return stream;
}

QCommandLineOption HostCommand::subItemOption()
{
    return {"subitem", "Subítem de la operación.", "n"};
}

QCommandLineOption HostCommand::allOption()
{
    return {"all", "Todos los subítems de la operación."};
}

QCommandLineOption HostCommand::formatOption()
{
    return {"format",
            QStringLiteral("Formato del resultado: %1.").arg(choicesText(formats, Notes::Said)),
            "formato", QString::fromLatin1(formats[0].text)};
}

std::optional<TextTable::Format> HostCommand::format(const QCommandLineParser& parser)
{
    if (!parser.isSet("format"))
        return formats[0].value;
    return choiceOption(parser, QStringLiteral("format"), formats, "Formato desconocido");
}

QString HostCommand::listed(const QStringList& items)
{
    if (items.size() < 2)
        return items.join(QString());
    return items.first(items.size() - 1).join(QStringLiteral(", ")) + QStringLiteral(" o ") +
           items.last();
}

void HostCommand::sayUnknown(const char* unknownText, const QString& text, const QString& choices)
{
    err() << unknownText << ": " << text << " (" << choices << ")\n";
}

HostCommand::HostCommand(const QCommandLineParser& parser, TextTable::Format format)
    : m_parser(parser), m_format(format)
{
}

HostCommand::~HostCommand() = default;

int HostCommand::openDatabases()
{
    m_databases = std::make_unique<HostDatabases>();
    const HostDatabases::Status status = m_databases->open(m_parser);
    if (status != HostDatabases::Status::Opened && status != HostDatabases::Status::Created)
        return openFailure(*m_databases, status);
    if (status == HostDatabases::Status::Created)
        err() << "Bases de muestra creadas: " << m_databases->dischargePath() << ", "
              << m_databases->hostPath() << '\n';
    if (const int audited = auditAs(*m_databases, m_parser.value("operator")); audited != Success)
        return audited;
    m_component = std::make_unique<oquivran::clQUIVRAN>();
    m_databases->bind(*m_component);
    m_component->Dir_Formularios(HostDatabases::defaultFormsFolder());
    m_operation = std::make_unique<ExportOperation>(m_databases->discharge(), m_databases->host());
    return Success;
}

int HostCommand::auditAs(const HostDatabases& databases, const QString& operatorName)
{
    // A database with the audit trail records every change the host makes to it, whoever's
    // (atomic writes, which the trail needs, are on since main()).
    if (!databases.hasAuditTrail())
        return Success;
    if (operatorName.contains(u'\'')) {
        err() << "Nombre de operador inválido (sin comillas): " << operatorName << '\n';
        return UsageError;
    }
    if (!oquivran::setAuditTrail(true, operatorName)) {
        err() << "No se pudo activar el registro de auditoría\n";
        return Failed;
    }
    return Success;
}

int HostCommand::openFailure(const HostDatabases& databases, HostDatabases::Status status)
{
    err() << databases.errorText() << '\n';
    switch (status) {
    case HostDatabases::Status::Invalid:
        return UsageError;
    case HostDatabases::Status::Unreachable:
        return ConnectionFailed;
    case HostDatabases::Status::NotFound:
        // init makes tables and files, not the server's databases.
        if (databases.isServerDatabaseMissing())
            err() << "Créela en el servidor (CREATE DATABASE) y luego sus tablas con: "
                     "oquivran-host init --discharge-db "
                  << databases.dischargePath() << " --host-db " << databases.hostPath() << '\n';
        else
            err() << "Créela con: oquivran-host init --discharge-db " << databases.dischargePath()
                  << " --host-db " << databases.hostPath() << '\n';
        return DatabaseMissing;
    case HostDatabases::Status::Opened:
    case HostDatabases::Status::Created:
    case HostDatabases::Status::Failed:
        break;
    }
    return DatabaseMissing;
}

int HostCommand::openOperation()
{
    if (const int opened = openDatabases(); opened != Success)
        return opened;
    const QString interno = m_parser.value("operation");
    if (!m_operation->load(interno)) {
        err() << "No existe la operación " << interno << " en la base del anfitrión "
              << m_databases->hostPath() << '\n';
        return NotFound;
    }
    m_component->INTERNO(interno);
    m_messages = std::make_unique<ConsoleMessages>(
        m_parser.isSet("yes") ? ConsoleMessages::Answer::Yes : ConsoleMessages::Answer::No);
    return Success;
}

int HostCommand::refusal() const
{
    const oquivran::RuntimeError* error = oquivran::reportedError();
    if (!error)
        return Refused;
    const QString& code = error->nativeErrorCode;
    const oquivran::DataObject* data = m_databases->dischargeData();
    // SQLSTATE classes 08 (connection exception) and 57P (the server shutting down or not
    // yet accepting connections).
    if ((data && data->isConflict(*error)) || code.startsWith(QLatin1String("08")) ||
        code.startsWith(QLatin1String("57P")))
        return DatabaseUnavailable;
    return Refused;
}

int HostCommand::worstOf(int exitCode, int next)
{
    // A database that failed outranks a refusal by the rules.
    if (next == DatabaseUnavailable || exitCode == Success)
        return next;
    return exitCode;
}

int HostCommand::openSubItems(QList<int>& selected)
{
    if (const int opened = openOperation(); opened != Success)
        return opened;
    if (m_parser.isSet("subitem") == m_parser.isSet("all")) {
        err() << "Indique --subitem N o --all.\n";
        return UsageError;
    }
    if (m_parser.isSet("all")) {
        for (const SubItem& s : m_operation->subItems())
            selected << s.idsub;
        return Success;
    }
    const std::optional<int> idsub =
        wholeOption(QStringLiteral("subitem"),
                    QStringLiteral("Subítem inválido: ") + m_parser.value("subitem"));
    if (!idsub)
        return UsageError;
    if (!m_operation->subItem(*idsub)) {
        err() << "La operación " << m_operation->interno() << " no tiene el subítem " << *idsub
              << '\n';
        return NotFound;
    }
    selected << *idsub;
    return Success;
}

std::optional<int> HostCommand::wholeOption(const QString& name, int minimum, int maximum,
                                            const QString& invalidText) const
{
    bool ok = false;
    const int value = m_parser.value(name).toInt(&ok);
    if (ok && value >= minimum && value <= maximum)
        return value;
    if (invalidText.isEmpty())
        err() << QStringLiteral("Valor inválido para --%1: %2 (un número de %3 a %4)")
                     .arg(name, m_parser.value(name), QString::number(minimum),
                          QString::number(maximum))
              << '\n';
    else
        err() << invalidText << '\n';
    return std::nullopt;
}

std::optional<int> HostCommand::wholeOption(const QString& name, const QString& invalidText) const
{
    return wholeOption(name, std::numeric_limits<int>::min(), std::numeric_limits<int>::max(),
                       invalidText);
}

std::optional<QDate> HostCommand::dateOption(const QString& name) const
{
    const QDate date = HostText::readDate(m_parser.value(name));
    if (date.isValid())
        return date;
    err() << "Fecha inválida: " << m_parser.value(name) << '\n';
    return std::nullopt;
}

QString HostCommand::dateText(const QString& text)
{
    const QDate date = QDate::fromString(text, Qt::ISODate);
    return date.isValid() ? HostText::date(date) : text;
}

void HostCommand::write(const QList<std::pair<QString, QVariant>>& fields,
                        const QList<Section>& sections) const
{
    switch (m_format) {
    case TextTable::Format::Table:
        for (int i = 0; i < sections.size(); ++i)
            out() << (i > 0 ? "\n" : "") << sections[i].heading << '\n'
                  << sections[i].table->toText();
        break;
    case TextTable::Format::Csv:
        // One CSV table per section, separated by an empty line.
        for (int i = 0; i < sections.size(); ++i)
            out() << (i > 0 ? "\n" : "") << sections[i].table->toCsv();
        break;
    case TextTable::Format::Json: {
        QJsonObject object;
        for (const auto& [key, value] : fields)
            object.insert(key, QJsonValue::fromVariant(value));
        for (const Section& section : sections)
            object.insert(section.key, section.table->toJson());
        out() << QJsonDocument(object).toJson(QJsonDocument::Indented);
        break;
    }
    }
    out().flush();
}
