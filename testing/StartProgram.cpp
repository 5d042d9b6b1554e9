#include "StartProgram.h"

#include <QFileInfo>
#include <QThread>

bool startProgram(QProcess& process, const QString& program, const QStringList& arguments)
{
    constexpr int attempts = 3;
    for (int attempt = 1;; ++attempt) {
        process.start(program, arguments);
        if (process.waitForStarted(60000))
            return true;
        // Only a start that failed outright is tried again: a program still starting may yet
        // run, and must not run twice.
        if (attempt == attempts || process.error() != QProcess::FailedToStart ||
            process.state() != QProcess::NotRunning)
            return false;
        qInfo("%s did not start (%s); starting it again", qPrintable(QFileInfo(program).fileName()),
              qPrintable(process.errorString()));
        QThread::msleep(250);
    }
}
