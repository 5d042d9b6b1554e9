#pragma once

#include "ExternalTool.h"

#include <QDir>
#include <QFile>
#include <QString>
#include <QStringList>

// Runs a poppler tool on a PDF and returns its standard output; empty when it failed.
inline QString popplerOutput(const QString& tool, const QStringList& arguments)
{
    const ExternalToolResult result = runExternalTool(tool, arguments);
    return result.exitCode == 0 ? QString::fromUtf8(result.output) : QString();
}

// The text of a PDF laid out in columns (pdftotext -layout).
inline QString pdfLayoutText(const QString& pdf)
{
    return popplerOutput(QStringLiteral("pdftotext"),
                         {QStringLiteral("-layout"), pdf, QStringLiteral("-")});
}

// The number of pages of a PDF (pdfinfo); 0 when it cannot be read.
inline int pdfPageCount(const QString& pdf)
{
    const QStringList lines = popplerOutput(QStringLiteral("pdfinfo"), {pdf}).split(u'\n');
    for (const QString& line : lines) {
        if (line.startsWith(QStringLiteral("Pages:")))
            return line.mid(6).trimmed().toInt();
    }
    return 0;
}

// The page size line of pdfinfo, e.g. "595.276 x 841.89 pts (A4)".
inline QString pdfPageSize(const QString& pdf)
{
    const QStringList lines = popplerOutput(QStringLiteral("pdfinfo"), {pdf}).split(u'\n');
    for (const QString& line : lines) {
        if (line.startsWith(QStringLiteral("Page size:")))
            return line.mid(10).trimmed();
    }
    return QString();
}

// The number of images a PDF holds (pdfimages -list).
inline int pdfImageCount(const QString& pdf)
{
    const QStringList lines =
        popplerOutput(QStringLiteral("pdfimages"), {QStringLiteral("-list"), pdf})
            .split(u'\n', Qt::SkipEmptyParts);
    return qMax(0, int(lines.size()) - 2);
}

// A folder of the test's own work folder for files a test leaves behind to look at.
inline QString testOutputFolder(const QString& name)
{
    QString base = qEnvironmentVariable("OQUIVRAN_TEST_WORKDIR");
    if (base.isEmpty())
        base = QDir::tempPath() + QStringLiteral("/oquivran-printing");
    const QString folder = base + u'/' + name;
    QDir().mkpath(folder);
    return folder;
}

// Sets OQUIVRAN_PDF_OUTPUT to a file of a test output folder for its life.
class PdfOutput
{
public:
    PdfOutput(const QString& folder, const QString& name)
        : file(testOutputFolder(folder) + u'/' + name + QStringLiteral(".pdf"))
    {
        QFile::remove(file);
        qputenv("OQUIVRAN_PDF_OUTPUT", file.toLocal8Bit());
    }
    ~PdfOutput() { qunsetenv("OQUIVRAN_PDF_OUTPUT"); }
    PdfOutput(const PdfOutput&) = delete;
    PdfOutput& operator=(const PdfOutput&) = delete;

    QString file;
};
