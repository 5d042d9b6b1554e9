#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>

// Starts program with arguments on process, with the process's own settings (environment,
// channels), and waits until it runs. Under Wine a program now and then fails to start while
// the machine is busy ("Process failed to start: Internal error."): a start that failed, and so
// ran nothing, is tried again, three times in all, each retry said as an info message. True
// when the program runs; otherwise process's error() and errorString() say why.
bool startProgram(QProcess& process, const QString& program, const QStringList& arguments);
