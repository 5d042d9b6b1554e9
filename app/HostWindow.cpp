#include "HostWindow.h"
#include "HostText.h"

#include "ExportOperation.h"
#include "HostDatabases.h"
#include "HostSettings.h"

#include <oquivran/oquivran.h>

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QHash>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QRadioButton>
#include <QScreen>
#include <QSplitter>
#include <QSqlQuery>
#include <QStatusBar>
#include <QTableWidget>
#include <QToolBar>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {

QString number(double value, int decimals = 4)
{
    return HostText::decimal(value, decimals);
}

QTableWidget* newTable(const QString& name, const QStringList& headers, QWidget* parent)
{
    auto* table = new QTableWidget(0, int(headers.size()), parent);
    table->setObjectName(name);
    table->setHorizontalHeaderLabels(headers);
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->verticalHeader()->hide();
    table->horizontalHeader()->setStretchLastSection(true);
    return table;
}

void setRow(QTableWidget* table, int row, const QStringList& cells, int firstNumeric)
{
    for (int c = 0; c < cells.size(); ++c) {
        auto* cell = new QTableWidgetItem(cells[c]);
        if (c >= firstNumeric)
            cell->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
        table->setItem(row, c, cell);
    }
}

QWidget* titled(const QString& title, QWidget* content, QLabel** label = nullptr)
{
    auto* box = new QWidget;
    auto* layout = new QVBoxLayout(box);
    layout->setContentsMargins(0, 0, 0, 0);
    auto* caption = new QLabel(QStringLiteral("<b>%1</b>").arg(title), box);
    layout->addWidget(caption);
    layout->addWidget(content);
    if (label)
        *label = caption;
    return box;
}

} // namespace

HostWindow::HostWindow(HostDatabases& databases, const QString& operation, QWidget* parent)
    : QMainWindow(parent), m_databases(databases),
      m_operation(std::make_unique<ExportOperation>(databases.discharge(), databases.host())),
      m_component(std::make_unique<oquivran::clQUIVRAN>()),
      m_expiryHorizon(HostSettings::expiryHorizon())
{
    setObjectName(QStringLiteral("HostWindow"));
    setWindowTitle(QStringLiteral("oQUIVRAN - Descarga de insumos de importación temporal"));
    m_databases.bind(*m_component);
    m_component->Dir_Formularios(HostDatabases::defaultFormsFolder());
    m_component->SubRegimen(QStringLiteral("ITEM - Importación temporal"));
    m_component->Aduana(QStringLiteral("001"));
    buildControls();
    buildActions();
    m_operations->addItems(m_operation->operations());
    m_operations->setCurrentText(operation);
    loadOperation(m_operations->currentText());
    const QScreen* shown = screen();
    resize(shown ? fittingSize(shown->availableGeometry()) : QSize(1280, 820));
}

QSize HostWindow::fittingSize(const QRect& available)
{
    // The window's frame (title bar and borders) comes on top of its size.
    const QSize frame(16, 48);
    return QSize(1280, 820).boundedTo(available.size() - frame);
}

HostWindow::~HostWindow() = default;

void HostWindow::buildControls()
{
    auto* central = new QWidget(this);
    auto* layout = new QVBoxLayout(central);
    auto* top = new QHBoxLayout;
    m_operations = new QComboBox(central);
    m_operations->setObjectName(QStringLiteral("cboOperacion"));
    m_operations->setMinimumWidth(180);
    top->addWidget(new QLabel(QStringLiteral("Operación de exportación:"), central));
    top->addWidget(m_operations);
    top->addStretch();
    m_result = new QLabel(central);
    m_result->setObjectName(QStringLiteral("lbResultado"));
    m_result->setMinimumWidth(520);
    m_result->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    top->addWidget(m_result);
    layout->addLayout(top);

    m_subItems = new QTreeWidget(central);
    m_subItems->setObjectName(QStringLiteral("lstSubitems"));
    m_subItems->setHeaderLabels({QStringLiteral("Ítem / Subítem"), QStringLiteral("Catálogo"),
                                 QStringLiteral("Producto"), QStringLiteral("Cantidad"),
                                 QStringLiteral("Grupo"), QStringLiteral("Descarga")});
    m_subItems->setRootIsDecorated(true);
    m_stock =
        newTable(QStringLiteral("lstStock"),
                 {QStringLiteral("Despacho"), QStringLiteral("Insumo"), QStringLiteral("Ítem"),
                  QStringLiteral("Sub"), QStringLiteral("Declarado"), QStringLiteral("Disponible"),
                  QStringLiteral("Oficialización"), QStringLiteral("Vencimiento"),
                  QStringLiteral("Autorizado"), QStringLiteral("C.T.C.")},
                 central);
    m_lines = newTable(QStringLiteral("lstLineas"),
                       {QStringLiteral("Despacho"), QStringLiteral("Insumo"),
                        QStringLiteral("Ítem"), QStringLiteral("Sub"), QStringLiteral("Cantidad"),
                        QStringLiteral("Real"), QStringLiteral("CIF unit."),
                        QStringLiteral("Ítem exp."), QStringLiteral("C.T.C.")},
                       central);

    auto* upper = new QSplitter(Qt::Horizontal, central);
    upper->addWidget(titled(QStringLiteral("Ítems y subítems"), m_subItems));
    upper->addWidget(titled(QStringLiteral("Líneas de descarga"), m_lines, &m_linesTitle));
    upper->setStretchFactor(0, 1);
    upper->setStretchFactor(1, 1);
    auto* split = new QSplitter(Qt::Vertical, central);
    split->addWidget(upper);
    QWidget* stockBox = titled(QStringLiteral("Stock de insumos (importación temporal)"), m_stock);
    m_expiryLegend = new QLabel(stockBox);
    m_expiryLegend->setObjectName(QStringLiteral("lbLeyendaVencimientos"));
    static_cast<QVBoxLayout*>(stockBox->layout())->insertWidget(1, m_expiryLegend);
    split->addWidget(stockBox);
    layout->addWidget(split);
    setCentralWidget(central);

    m_expiryCount = new QLabel(this);
    m_expiryCount->setObjectName(QStringLiteral("lbVencimientos"));
    statusBar()->addPermanentWidget(m_expiryCount);
    m_formsFolder = new QLabel(this);
    statusBar()->addPermanentWidget(m_formsFolder);
    connect(m_operations, &QComboBox::currentTextChanged, this, &HostWindow::loadOperation);
    connect(m_subItems, &QTreeWidget::currentItemChanged, this, [this] { loadLines(); });
}

void HostWindow::buildActions()
{
    QToolBar* bar = addToolBar(QStringLiteral("Acciones"));
    bar->setObjectName(QStringLiteral("tbAcciones"));
    bar->setToolButtonStyle(Qt::ToolButtonTextOnly);
    const auto add = [&](const QString& name, const QString& text, void (HostWindow::*slot)()) {
        QAction* action = bar->addAction(text, this, slot);
        action->setObjectName(name);
        return action;
    };
    add(QStringLiteral("cmdDescargar"), QStringLiteral("Descargar insumos"),
        &HostWindow::discharge);
    add(QStringLiteral("cmdEliminar"), QStringLiteral("Eliminar descarga"),
        &HostWindow::removeDischarge);
    add(QStringLiteral("cmdNumerar"), QStringLiteral("Numerar ítems"), &HostWindow::numberItems);
    add(QStringLiteral("cmdInsumos"), QStringLiteral("Insumos del ítem"), &HostWindow::showInputs);
    add(QStringLiteral("cmdImprimir"), QStringLiteral("Imprimir"), &HostWindow::print);
    bar->addSeparator();
    m_restarPerMer = bar->addAction(QStringLiteral("Restar merma y pérdida"));
    m_restarPerMer->setObjectName(QStringLiteral("chRestarPerMer"));
    m_restarPerMer->setCheckable(true);
    connect(m_restarPerMer, &QAction::toggled, this,
            [this](bool on) { m_component->Restar_PerMer(on); });
    add(QStringLiteral("cmdFormularios"), QStringLiteral("Carpeta de formularios..."),
        &HostWindow::chooseFormsFolder);
    m_formsFolder->setText(QStringLiteral("Formularios: ") + HostDatabases::defaultFormsFolder());
}

void HostWindow::loadOperation(const QString& interno)
{
    m_operation->load(interno);
    m_component->INTERNO(interno);
    refresh();
}

void HostWindow::refresh()
{
    const int selected = selectedSubItem() ? selectedSubItem()->idsub : 0;
    m_subItems->clear();
    QTreeWidgetItem* itemNode = nullptr;
    int lastItem = -1;
    for (const SubItem& s : m_operation->subItems()) {
        if (s.item != lastItem) {
            itemNode = new QTreeWidgetItem(m_subItems, {QStringLiteral("Ítem %1").arg(s.item)});
            itemNode->setData(0, Qt::UserRole + 1, s.item);
            itemNode->setExpanded(true);
            lastItem = s.item;
        }
        const double discharged = [&] {
            double total = 0;
            for (const DischargeLine& l : m_operation->dischargeLines(s.idsub))
                total += l.quantity;
            return total;
        }();
        auto* node = new QTreeWidgetItem(
            itemNode,
            {QStringLiteral("Subítem %1").arg(s.idsub), s.catalog, s.product, number(s.quantity, 2),
             s.groupRoot ? QStringLiteral("con subítem %1").arg(s.groupRoot) : QString(),
             discharged > 0 ? number(discharged) : QStringLiteral("sin descarga")});
        node->setData(0, Qt::UserRole, s.idsub);
        node->setTextAlignment(3, Qt::AlignRight | Qt::AlignVCenter);
        node->setTextAlignment(5, Qt::AlignRight | Qt::AlignVCenter);
        if (s.idsub == selected || (selected == 0 && !m_subItems->currentItem()))
            m_subItems->setCurrentItem(node);
    }
    for (int c = 0; c < m_subItems->columnCount(); ++c)
        m_subItems->resizeColumnToContents(c);
    loadStock();
    loadLines();
}

void HostWindow::loadStock()
{
    QSqlQuery query(m_databases.discharge());
    query.exec(QStringLiteral(
        "select INS.INTDCL, ARTNRO, ARTITM, ARTSBT, ARTCAT, ARTDSC, INTFOF, INTVEN, INTIOK, "
        "ARTCTC from INS join INTINS on INTINS.INTDCL = INS.INTDCL order by INTFOF, ARTNRO, "
        "ARTITM, ARTSBT"));
    m_stock->setRowCount(0);
    while (query.next()) {
        const int row = m_stock->rowCount();
        m_stock->insertRow(row);
        const auto date = [&](int column) {
            return HostText::date(query.value(column).toDate());
        };
        setRow(m_stock, row,
               {query.value(0).toString(), query.value(1).toString(), query.value(2).toString(),
                query.value(3).toString(), number(query.value(4).toDouble()),
                number(query.value(5).toDouble()), date(6), date(7),
                query.value(8).toInt() == 1 ? QStringLiteral("Sí") : QStringLiteral("No"),
                query.value(9).toString()},
               2);
        for (int c : {6, 7, 8, 9})
            m_stock->item(row, c)->setTextAlignment(Qt::AlignLeft | Qt::AlignVCenter);
        if (query.value(5).toDouble() <= 0 || query.value(8).toInt() != 1) {
            for (int c = 0; c < m_stock->columnCount(); ++c)
                m_stock->item(row, c)->setForeground(Qt::gray);
        }
    }
    markExpiries();
    m_stock->resizeColumnsToContents();
}

QColor HostWindow::expiryColor(oquivran::ExpiryState state)
{
    return state == oquivran::ExpiryState::Expired ? QColor(0xF4, 0xB6, 0xB6)
                                                   : QColor(0xFF, 0xD8, 0x8A);
}

void HostWindow::markExpiries()
{
    const QDate today = HostSettings::today();
    const auto swatch = [](oquivran::ExpiryState state) {
        return QStringLiteral("<span style=\"background-color:%1\">&nbsp;&nbsp;&nbsp;&nbsp;"
                              "</span>")
            .arg(expiryColor(state).name());
    };
    m_expiryLegend->setText(swatch(oquivran::ExpiryState::Expired) +
                            QStringLiteral(" vencida &nbsp;&nbsp; ") +
                            swatch(oquivran::ExpiryState::DueSoon) +
                            QStringLiteral(" vence en %1 días o menos (al %2)")
                                .arg(m_expiryHorizon)
                                .arg(HostText::date(today)));

    oquivran::ExpiryReport report;
    if (!oquivran::expiringStock(today, m_expiryHorizon, report)) {
        m_expiryCount->setText(QStringLiteral("Vencimientos: no se pudieron leer"));
        return;
    }
    QHash<QString, const oquivran::ExpiryLine*> lines;
    const auto key = [](const QString& declaration, const QString& input, const QString& item,
                        const QString& subItem) -> QString {
        return declaration + u'|' + input + u'|' + item + u'|' + subItem;
    };
    for (const oquivran::ExpiryLine& line : report.lines)
        lines.insert(key(line.declaration, line.input, QString::number(line.item),
                         QString::number(line.subItem)),
                     &line);
    for (int row = 0; row < m_stock->rowCount(); ++row) {
        const oquivran::ExpiryLine* line =
            lines.value(key(m_stock->item(row, 0)->text(), m_stock->item(row, 1)->text(),
                            m_stock->item(row, 2)->text(), m_stock->item(row, 3)->text()));
        // Lines without an expiry date keep their colours.
        if (!line || line->state == oquivran::ExpiryState::NoExpiry)
            continue;
        const QString tip = line->state == oquivran::ExpiryState::Expired
                                ? QStringLiteral("Vencida hace %1 días").arg(-line->daysLeft)
                                : QStringLiteral("Vence en %1 días").arg(line->daysLeft);
        for (int c = 0; c < m_stock->columnCount(); ++c) {
            m_stock->item(row, c)->setBackground(expiryColor(line->state));
            m_stock->item(row, c)->setToolTip(tip);
        }
    }
    m_expiryCount->setText(QStringLiteral("Líneas vencidas: %1 - por vencer en %2 días: %3")
                               .arg(report.expiredLines)
                               .arg(m_expiryHorizon)
                               .arg(report.dueSoonLines));
}

void HostWindow::loadLines()
{
    const SubItem* s = selectedSubItem();
    m_lines->setRowCount(0);
    if (!s) {
        m_linesTitle->setText(QStringLiteral("<b>Líneas de descarga</b>"));
        return;
    }
    m_linesTitle->setText(QStringLiteral("<b>Líneas de descarga del subítem %1 (%2)</b>")
                              .arg(s->idsub)
                              .arg(s->product));
    for (const DischargeLine& l : m_operation->dischargeLines(s->idsub)) {
        const int row = m_lines->rowCount();
        m_lines->insertRow(row);
        setRow(m_lines, row,
               {l.declaration, l.input, QString::number(l.stockItem),
                QString::number(l.stockSubItem), number(l.quantity), number(l.realQuantity),
                number(l.unitPrice, 6), QString::number(l.exportItem), l.ctc},
               2);
        m_lines->item(row, 8)->setTextAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    }
    m_lines->resizeColumnsToContents();
}

const SubItem* HostWindow::selectedSubItem() const
{
    const QTreeWidgetItem* node = m_subItems->currentItem();
    if (!node || !node->data(0, Qt::UserRole).isValid())
        return nullptr;
    return m_operation->subItem(node->data(0, Qt::UserRole).toInt());
}

bool HostWindow::selectSubItem(int idsub)
{
    for (QTreeWidgetItemIterator it(m_subItems); *it; ++it) {
        if ((*it)->data(0, Qt::UserRole).isValid() &&
            (*it)->data(0, Qt::UserRole).toInt() == idsub) {
            m_subItems->setCurrentItem(*it);
            return true;
        }
    }
    return false;
}

void HostWindow::showResult(const QString& text)
{
    m_result->setText(text);
    statusBar()->showMessage(text, 15000);
}

void HostWindow::discharge()
{
    const SubItem* s = selectedSubItem();
    if (!s) {
        QMessageBox::information(this, windowTitle(), QStringLiteral("Elija un subítem."));
        return;
    }
    m_operation->setOn(*m_component, *s);
    const int idsub = s->idsub;
    if (m_component->AgregarInsumo())
        showResult(QStringLiteral("Subítem %1: cantidad descontada %2, CIF descontado %3")
                       .arg(idsub)
                       .arg(number(m_component->CantidadDescontada()),
                            number(m_component->CIFDescontado(), 2)));
    else
        showResult(QStringLiteral("Subítem %1: sin descarga").arg(idsub));
    refresh();
}

void HostWindow::removeDischarge()
{
    const SubItem* s = selectedSubItem();
    if (!s)
        return;
    const int idsub = s->idsub;
    // Taking a discharge out gives its stock back: asked first, No by default.
    if (!askYesNo(QStringLiteral("msgEliminarDescarga"),
                  QStringLiteral("¿Elimina la descarga del subítem %1 (%2) y devuelve su stock?")
                      .arg(idsub)
                      .arg(s->product),
                  this)) {
        showResult(QStringLiteral("Subítem %1: descarga conservada").arg(idsub));
        return;
    }
    m_operation->setOn(*m_component, *s);
    showResult(m_component->EliminarInsumo()
                   ? QStringLiteral("Subítem %1: descarga eliminada").arg(idsub)
                   : QStringLiteral("Subítem %1: no se pudo eliminar la descarga").arg(idsub));
    refresh();
}

void HostWindow::numberItems()
{
    QList<int> skipped;
    const bool numbered = m_operation->numberItems(*m_component, skipped);
    QString text =
        numbered ? QStringLiteral("Ítems numerados") : QStringLiteral("La numeración falló");
    if (!skipped.isEmpty()) {
        QStringList items;
        for (int item : skipped)
            items << QString::number(item);
        text += QStringLiteral(" (sin descarga, no numerados: %1)")
                    .arg(items.join(QStringLiteral(", ")));
    }
    showResult(text);
    refresh();
}

void HostWindow::showInputs()
{
    const SubItem* s = selectedSubItem();
    if (!s)
        return;
    oquivran::Recordset rs;
    m_component->INTERNO(m_operation->interno());
    if (!m_component->Obtener_Insumos(s->item, rs))
        return;
    QDialog dialog(this);
    dialog.setObjectName(QStringLiteral("dlgInsumos"));
    dialog.setWindowTitle(QStringLiteral("Insumos del ítem %1").arg(s->item));
    QStringList headings;
    for (const QString& field : rs.fieldNames())
        headings << HostText::inputHeading(field);
    auto* table = newTable(QStringLiteral("lstInsumos"), headings, &dialog);
    for (rs.moveFirst(); !rs.eof(); rs.moveNext()) {
        const int row = table->rowCount();
        table->insertRow(row);
        QStringList cells;
        for (const QString& field : rs.fieldNames())
            cells << rs.value(field).toString();
        setRow(table, row, cells, int(cells.size()));
    }
    table->resizeColumnsToContents();
    auto* buttons = new QDialogButtonBox(&dialog);
    buttons->addButton(QStringLiteral("Cerrar"), QDialogButtonBox::RejectRole)
        ->setObjectName(QStringLiteral("cmdCerrar"));
    connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    auto* layout = new QVBoxLayout(&dialog);
    layout->addWidget(table->rowCount()
                          ? static_cast<QWidget*>(table)
                          : new QLabel(QStringLiteral("El ítem no tiene insumos "
                                                      "descargados; numere los ítems."),
                                       &dialog));
    layout->addWidget(buttons);
    dialog.resize(760, 300);
    dialog.exec();
}

void HostWindow::print()
{
    m_component->INTERNO(m_operation->interno());
    // F11 on the print options screen is seen here first (see eventFilter()) while it is up.
    qApp->installEventFilter(this);
    m_component->GenerarIMP();
    qApp->removeEventFilter(this);
    refresh();
}

bool HostWindow::eventFilter(QObject* watched, QEvent* event)
{
    if (!watched->isWidgetType())
        return false;
    QWidget* screen = static_cast<QWidget*>(watched)->window();
    if (screen->objectName() != u"frmImpresion")
        return false;
    if (event->type() == QEvent::Show && watched == screen) {
        // The screen filters the application's keys from its construction on; installed
        // again, this filter comes before it.
        qApp->installEventFilter(this);
        return false;
    }
    if (event->type() != QEvent::KeyPress || static_cast<QKeyEvent*>(event)->key() != Qt::Key_F11)
        return false;
    return !confirmReplacement(*screen);
}

bool HostWindow::askYesNo(const QString& name, const QString& question, QWidget* parent) const
{
    QMessageBox ask(QMessageBox::Question, windowTitle(), question, QMessageBox::NoButton, parent);
    ask.setObjectName(name);
    QPushButton* yes = ask.addButton(QStringLiteral("Sí"), QMessageBox::YesRole);
    QPushButton* no = ask.addButton(QStringLiteral("No"), QMessageBox::NoRole);
    yes->setObjectName(QStringLiteral("cmdSi"));
    no->setObjectName(QStringLiteral("cmdNo"));
    ask.setDefaultButton(no);
    ask.setEscapeButton(no);
    ask.exec();
    return ask.clickedButton() == yes;
}

bool HostWindow::confirmReplacement(QWidget& screen)
{
    const auto* declaration = screen.findChild<QRadioButton*>(QStringLiteral("opDESINS"));
    const auto* number = screen.findChild<QLineEdit*>(QStringLiteral("txtAAT"));
    const auto* date = screen.findChild<QLineEdit*>(QStringLiteral("txtOficializacion"));
    // Only the declaration records; a date the screen cannot read it refuses itself.
    if (!declaration || !declaration->isChecked() || !number || !date)
        return true;
    const OfficialData recorded = m_operation->officialData();
    const OfficialData printed{number->text().trimmed(), HostText::readDate(date->text())};
    if (recorded.isEmpty() || !printed.date.isValid() ||
        (printed.number == recorded.number && printed.date == recorded.date))
        return true;
    return askYesNo(QStringLiteral("msgReemplazarOficializacion"),
                    QStringLiteral("La operación %1 ya tiene registrados el número oficial y la "
                                   "fecha %2.\n¿Los reemplaza por %3?")
                        .arg(m_operation->interno(), recorded.text(), printed.text()),
                    &screen);
}

void HostWindow::chooseFormsFolder()
{
    const QString folder = QFileDialog::getExistingDirectory(
        this, QStringLiteral("Carpeta de formularios"), HostDatabases::defaultFormsFolder());
    if (folder.isEmpty())
        return;
    m_component->Dir_Formularios(folder + u'/');
    m_formsFolder->setText(QStringLiteral("Formularios: ") + folder + u'/');
}
