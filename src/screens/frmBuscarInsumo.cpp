#include "frmBuscarInsumo.h"

#include "BoundData.h"
#include "ListViewRows.h"
#include "Messages.h"
#include "ModuleState.h"
#include "NumberFormat.h"
#include "NumberText.h"
#include "ScreenErrors.h"
#include "ScreenStatements.h"
#include "TextRules.h"
#include "ValueConversion.h"
#include "WholeNumber.h"
#include "frmCargarInsumo.h"

#include <oquivran/Recordset.h>
#include <oquivran/RuntimeError.h>

#include <QCheckBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace oquivran {

namespace {

// Columns of lstInsumos.
enum Column {
    Input = 0,
    Declaration = 1,
    TariffPosition = 2,
    Available = 3,
    Expiry = 4,
    Item = 5,
    SubItem = 6,
    UnitPrice = 7,
    Ctc = 8,
    ExportReference = 9,
};

const QString selectLabel = QStringLiteral(" - seccion [oQUIVRAN.SeleccionarInsumo]");

// A field shown in the list: a null cannot be shown and ends the filling.
QString shown(const Recordset& rs, const QString& field)
{
    const QVariant value = rs.value(field);
    if (value.isNull())
        throw RuntimeError(94, QStringLiteral("Invalid use of Null"));
    return ValueConversion::toText(value);
}

// A number of the row: a null ends the filling as a shown field's does.
double number(const Recordset& rs, const QString& field)
{
    const QVariant value = rs.value(field);
    if (value.isNull())
        throw RuntimeError(94, QStringLiteral("Invalid use of Null"));
    return ValueConversion::toReal(value);
}

// A field joined to an empty text: a null shows as "".
QString joined(const Recordset& rs, const QString& field)
{
    return ValueConversion::toText(rs.value(field));
}

} // namespace

frmBuscarInsumo::frmBuscarInsumo(QWidget* parent)
    : ScreenDialog(QStringLiteral("frmBuscarInsumo"), QStringLiteral("Buscar Insumo"), parent)
{
    buildControls();
    connect(m_cmdBuscar, &QPushButton::clicked, this,
            [this] { BuscarInsumo(m_txtBuscarInsumos->text()); });
    connect(m_lstInsumos, &QTreeWidget::itemDoubleClicked, this, [this] { SeleccionarInsumo(); });
}

void frmBuscarInsumo::buildControls()
{
    m_txtBuscarInsumos = newLineEdit(QStringLiteral("txtBuscarInsumos"));
    m_cmdBuscar = new QPushButton(QStringLiteral("Buscar"), this);
    m_cmdBuscar->setObjectName(QStringLiteral("cmdBuscar"));
    m_cmdBuscar->setAutoDefault(false);
    m_chSoloDisponibles = new QCheckBox(QStringLiteral("Mostrar solo disponibles"), this);
    m_chSoloDisponibles->setObjectName(QStringLiteral("chSoloDisponibles"));
    m_chSoloDisponibles->setChecked(true);
    m_lstInsumos = ListViewRows::create(QStringLiteral("lstInsumos"),
                                        {QStringLiteral("Insumo"), QStringLiteral("DIT"),
                                         QStringLiteral("NCM"), QStringLiteral("Disponible"),
                                         QStringLiteral("Vencimiento"), QString(), QString(),
                                         QString(), QString(), QString()},
                                        this);

    auto* search = new QHBoxLayout;
    search->addWidget(
        newLabel(QStringLiteral("Label1"), QStringLiteral("Ingrese codigo de Insumo")));
    search->addWidget(m_txtBuscarInsumos, 1);
    search->addWidget(m_cmdBuscar);
    search->addSpacing(16);
    search->addWidget(m_chSoloDisponibles);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(search);
    layout->addWidget(m_lstInsumos, 1);
    resize(1000, 480);
    m_txtBuscarInsumos->setFocus();
}

void frmBuscarInsumo::escapePressed()
{
    DipCandidate& chosen = moduleState().currentInput;
    chosen.inputCode.clear();
    chosen.declaration.clear();
    closeScreen();
}

bool frmBuscarInsumo::controlKey(QWidget* control, QKeyEvent* key)
{
    if (key->key() != Qt::Key_Return && key->key() != Qt::Key_Enter)
        return false;
    if (control == m_txtBuscarInsumos) {
        BuscarInsumo(m_txtBuscarInsumos->text());
        return true;
    }
    if (control == m_lstInsumos) {
        SeleccionarInsumo();
        return true;
    }
    return false;
}

void frmBuscarInsumo::BuscarInsumo(const QString& text)
{
    if (TextRules::trim(text).isEmpty()) {
        Messages::show(QStringLiteral("Debe ingresar un codigo de articulo"),
                       MessageCritical | MessageOkOnly);
        return;
    }
    ScreenErrors::guard(ScreenErrors::Layout::NumberThenDescription, QString(), [&] {
        fillList(text);
        return true;
    });
    // The list shows again also after a failure, with the lines added before it.
    m_lstInsumos->setVisible(true);
    ListViewRows::fitColumns(m_lstInsumos);
    if (m_lstInsumos->topLevelItemCount() > 0) {
        m_lstInsumos->setCurrentItem(m_lstInsumos->topLevelItem(0));
        m_lstInsumos->setFocus();
    }
}

void frmBuscarInsumo::fillList(const QString& text)
{
    // A quote would break the statement: it is searched as a blank.
    QString prefix = text;
    prefix.replace(u'\'', u' ');
    m_lstInsumos->clear();
    const ScreenStatements::StockFilter filter = m_chSoloDisponibles->isChecked()
                                                     ? ScreenStatements::StockFilter::AvailableOnly
                                                     : ScreenStatements::StockFilter::AllLines;
    Recordset rs;
    BoundData::open(ScreenStatements::stockSearch(prefix, filter), rs);
    const ModuleState& state = moduleState();
    // Normal mode lists availability with two decimals although the engine keeps more.
    const QString availableFormat =
        state.extendedDecimals ? state.valueFormat : QStringLiteral("00.00");
    m_lstInsumos->setVisible(false);
    for (; !rs.eof(); rs.moveNext()) {
        const double available = number(rs, QStringLiteral("ARTDSC"));
        const double authorised = number(rs, QStringLiteral("INTIOK"));
        QStringList texts;
        texts << shown(rs, QStringLiteral("ARTNRO")) << shown(rs, QStringLiteral("DIT"))
              << shown(rs, QStringLiteral("ARTNCM"))
              << NumberFormat::format(available, availableFormat)
              << shown(rs, QStringLiteral("INTVEN")) << shown(rs, QStringLiteral("ARTITM"))
              << shown(rs, QStringLiteral("ARTSBT")) << shown(rs, QStringLiteral("ARTPRE"))
              << joined(rs, QStringLiteral("ARTCTC")) << joined(rs, QStringLiteral("INSEXP"));
        QTreeWidgetItem* row = ListViewRows::append(m_lstInsumos, texts);
        // Exhausted stock and declarations not yet authorised are listed greyed, selectable.
        if (authorised != 1 || available <= 0)
            ListViewRows::paint(row, ListViewRows::grey(), Expiry);
    }
}

void frmBuscarInsumo::SeleccionarInsumo()
{
    if (m_lstInsumos->topLevelItemCount() == 0)
        return;
    const bool taken =
        ScreenErrors::guard(ScreenErrors::Layout::DescriptionThenLabel, selectLabel, [this] {
            const QTreeWidgetItem* row = ListViewRows::selected(m_lstInsumos);
            DipCandidate& chosen = moduleState().currentInput;
            chosen.declaration = row->text(Declaration);
            chosen.inputCode = row->text(Input);
            chosen.item = WholeNumber::toInt16(NumberText::toNumber(row->text(Item)));
            chosen.tariffPosition = row->text(TariffPosition);
            chosen.subItem = WholeNumber::toInt16(NumberText::toNumber(row->text(SubItem)));
            chosen.unitPrice = NumberText::toNumber(row->text(UnitPrice));
            chosen.allocationStatus = AllocationComplete;
            chosen.quantity = NumberText::toNumber(row->text(Available));
            chosen.ctc = row->text(Ctc);
            chosen.exportReference = row->text(ExportReference);
            chosen.shrinkage = 0;
            chosen.loss = 0;
            chosen.relationQuantity = 1;
            chosen.shrinkageKind = 1;
            chosen.lossKind = 1;
            chosen.obligatory = 0;
            return true;
        });
    if (!taken)
        return;
    {
        frmCargarInsumo load(this);
        load.exec();
    }
    // A cancelled load empties the choice and leaves the operator on the results.
    const DipCandidate& chosen = moduleState().currentInput;
    if (!chosen.declaration.isEmpty() || !chosen.inputCode.isEmpty())
        closeScreen();
}

} // namespace oquivran
