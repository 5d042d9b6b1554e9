// Renders the host's window with a discharge open into PNG files: the window alone, the window
// with the component's allocation screen over it, the stock list with its expiry colours and
// the dialog of an item's inputs; and prints the expiry listing into FOLDER/expiry-listing.pdf
// (pdftoppm renders its pages). Usage:
//   oquivran-host-screenshots FOLDER
// It works on fresh sample databases in FOLDER/work and answers every message with OK/No.
#include "HostDatabases.h"
#include "HostSettings.h"
#include "HostWindow.h"

#include <oquivran/Module.h>
#include <oquivran/Printing.h>

#include <QApplication>
#include <QDir>
#include <QKeyEvent>
#include <QPainter>
#include <QTextStream>
#include <QTimer>

namespace {

// The window with a dialog drawn over its centre.
QImage composed(QWidget* window, QWidget* dialog)
{
    QImage image = window->grab().toImage();
    const QImage front = dialog->grab().toImage();
    QPainter painter(&image);
    const QPoint at((image.width() - front.width()) / 2, (image.height() - front.height()) / 3);
    painter.fillRect(image.rect(), QColor(0, 0, 0, 60));
    painter.setPen(QPen(Qt::darkGray, 2));
    painter.drawImage(at, front);
    painter.drawRect(QRect(at, front.size()).adjusted(-1, -1, 0, 0));
    return image;
}

} // namespace

int main(int argc, char* argv[])
{
    QApplication app(argc, argv);
    if (argc != 2) {
        QTextStream(stderr) << "uso: oquivran-host-screenshots CARPETA\n";
        return 1;
    }
    const QDir folder(QString::fromLocal8Bit(argv[1]));
    QDir(folder.filePath(QStringLiteral("work"))).removeRecursively();
    folder.mkpath(QStringLiteral("work"));
    oquivran::setMessageHandler([](const QString&, int style, const QString&) {
        return int((style & 0xF) == oquivran::MessageYesNo ? oquivran::AnswerNo
                                                           : oquivran::AnswerOk);
    });
    HostDatabases databases;
    if (databases.open(folder.filePath(QStringLiteral("work/descargas.sqlite")),
                       folder.filePath(QStringLiteral("work/anfitrion.sqlite")),
                       HostDatabases::Missing::CreateSample) != HostDatabases::Status::Created) {
        QTextStream(stderr) << databases.errorText() << '\n';
        return 1;
    }
    HostWindow window(databases, QStringLiteral("OP-2025-0042"));
    // The size the window takes on a 1366x768 screen with a panel of 40 pixels.
    window.resize(HostWindow::fittingSize(QRect(0, 0, 1366, 728)));
    window.show();
    window.selectSubItem(1);

    bool saved = false;
    // The allocation screen is modal: look for it once it is up, save, then leave with ESC.
    QTimer poll;
    poll.setInterval(100);
    QObject::connect(&poll, &QTimer::timeout, [&] {
        QWidget* dialog = QApplication::activeModalWidget();
        if (!dialog || saved)
            return;
        saved = true;
        composed(&window, dialog).save(folder.filePath(QStringLiteral("host-discharge.png")));
        // F11 accepts the proposed allocation, as the operator would.
        QTimer::singleShot(0, dialog, [dialog] {
            QKeyEvent press(QEvent::KeyPress, Qt::Key_F11, Qt::NoModifier);
            QApplication::sendEvent(dialog, &press);
        });
    });
    poll.start();
    QTimer::singleShot(60000, &app, [] { QApplication::exit(2); });
    QTimer::singleShot(0, &window, [&] {
        window.discharge();
        poll.stop();
        window.selectSubItem(1);
        window.grab().save(folder.filePath(QStringLiteral("host-window.png")));
        window.findChild<QWidget*>(QStringLiteral("lstStock"))
            ->parentWidget()
            ->grab()
            .save(folder.filePath(QStringLiteral("host-stock.png")));
        const QString listing = folder.absoluteFilePath(QStringLiteral("expiry-listing.pdf"));
        oquivran::PrintRequest request;
        request.output = oquivran::PrintOutput::Printer;
        request.outputFile = listing;
        request.fontSize = 8;
        oquivran::printExpiryListing(HostSettings::today(), HostSettings::expiryHorizon(), request);
        // The item's inputs once the items are numbered.
        window.numberItems();
        window.selectSubItem(1);
        QTimer::singleShot(200, &window, [&] {
            QWidget* inputs = QApplication::activeModalWidget();
            if (!inputs)
                return;
            inputs->grab().save(folder.filePath(QStringLiteral("host-inputs.png")));
            QTimer::singleShot(0, inputs, [inputs] {
                QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
                QApplication::sendEvent(inputs, &escape);
            });
        });
        window.showInputs();
        QDir(folder.filePath(QStringLiteral("work"))).removeRecursively();
        QApplication::exit(saved ? 0 : 1);
    });
    return app.exec();
}
