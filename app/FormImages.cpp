// Writes the sample form images adj1.kbx to adj5.kbx into a folder: an A4 page at 100 dpi
// with the frame and the header boxes of a discharge form, as PNG content under the name the
// page output loads.
#include <QDir>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QTextStream>

namespace {

constexpr double dotsPerMm = 100.0 / 25.4;

QRectF mm(double x, double y, double width, double height)
{
    return QRectF(x * dotsPerMm, y * dotsPerMm, width * dotsPerMm, height * dotsPerMm);
}

QImage formImage(int sheet)
{
    QImage image(qRound(210 * dotsPerMm), qRound(297 * dotsPerMm), QImage::Format_RGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.setPen(QPen(QColor(90, 120, 170), 2));
    painter.drawRect(mm(5, 0.5, 200, 292));
    // The header boxes the page output fills: sub-regime, customs office, official date and
    // number, page.
    painter.drawRect(mm(38, 0.5, 60, 6));
    painter.drawRect(mm(25, 7, 60, 6));
    painter.drawRect(mm(86, 7, 36, 6));
    painter.drawRect(mm(122, 7, 50, 6));
    painter.drawRect(mm(172, 7, 32, 6));
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPixelSize(qRound(2.2 * dotsPerMm));
    painter.setFont(font);
    painter.setPen(QColor(90, 120, 170));
    painter.drawText(mm(6, 1, 30, 5), Qt::AlignLeft | Qt::AlignVCenter,
                     QStringLiteral("Subrégimen"));
    painter.drawText(mm(6, 7.5, 18, 5), Qt::AlignLeft | Qt::AlignVCenter, QStringLiteral("Aduana"));
    painter.drawText(mm(6, 285, 198, 6), Qt::AlignRight | Qt::AlignVCenter,
                     QStringLiteral("Formulario de muestra - hoja %1").arg(sheet));
    painter.setPen(QPen(QColor(200, 210, 230), 1));
    for (double y = 30; y < 280; y += 10)
        painter.drawLine(mm(5, y, 200, 0).topLeft(), mm(5, y, 200, 0).topRight());
    return image;
}

} // namespace

int main(int argc, char* argv[])
{
    QGuiApplication app(argc, argv);
    if (argc != 2) {
        QTextStream(stderr) << "uso: oquivran-formimages CARPETA\n";
        return 1;
    }
    const QDir folder(QString::fromLocal8Bit(argv[1]));
    if (!folder.mkpath(QStringLiteral("."))) {
        QTextStream(stderr) << "no se pudo crear " << folder.path() << '\n';
        return 1;
    }
    for (int sheet = 1; sheet <= 5; ++sheet) {
        const QString path = folder.filePath(QStringLiteral("adj%1.kbx").arg(sheet));
        if (!formImage(sheet).save(path, "PNG")) {
            QTextStream(stderr) << "no se pudo escribir " << path << '\n';
            return 1;
        }
    }
    return 0;
}
