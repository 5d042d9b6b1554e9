#include "frmCargarInsumo.h"

#include "Messages.h"
#include "ModuleState.h"
#include "NumberFormat.h"
#include "NumberText.h"
#include "ScreenErrors.h"

#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>

#include <optional>

namespace oquivran {

namespace {

const QString saveLabel = QStringLiteral(" - seccion [oQUIVRAN.frmCargarInsumo]::");

} // namespace

frmCargarInsumo::frmCargarInsumo(QWidget* parent)
    : ScreenDialog(QStringLiteral("frmCargarInsumo"), QStringLiteral("Insumo seleccionado"), parent)
{
    buildControls();
    linkEntryControls(
        {m_txtDIPCAN, m_txtMermas, m_txtPerdidas, m_txtARTCTC, m_txtINSEXP, m_lbRIPCAN});
    load();
    connect(m_opDIP, &QRadioButton::toggled, this, [this](bool on) {
        if (on)
            setEntryMode(EntryMode::Quantity);
    });
    connect(m_opRIP, &QRadioButton::toggled, this, [this](bool on) {
        if (on)
            setEntryMode(EntryMode::Relation);
    });
    connect(m_lbRIPCAN, &QLineEdit::textChanged, this, [this] { relationChanged(); });
    connect(m_txtDIPCAN, &QLineEdit::textChanged, this, [this] { quantityChanged(); });
}

void frmCargarInsumo::buildControls()
{
    m_lbARTNRO = newLabel(QStringLiteral("lbARTNRO"));
    m_lbARTDCL = newLabel(QStringLiteral("lbARTDCL"));
    m_lbARTNCM = newLabel(QStringLiteral("lbARTNCM"));
    m_lbARTITM = newLabel(QStringLiteral("lbARTITM"));
    m_lbARTSBT = newLabel(QStringLiteral("lbARTSBT"));
    m_lbMaxDIPCAN = newLabel(QStringLiteral("lbMaxDIPCAN"));
    m_lbPRDCAN = newLabel(QStringLiteral("lbPRDCAN"));
    m_lbRIPCAN = newLineEdit(QStringLiteral("lbRIPCAN"));
    m_txtDIPCAN = newLineEdit(QStringLiteral("txtDIPCAN"));
    m_txtMermas = newLineEdit(QStringLiteral("txtMermas"));
    m_txtPerdidas = newLineEdit(QStringLiteral("txtPerdidas"));
    m_txtARTCTC = newLineEdit(QStringLiteral("txtARTCTC"));
    m_txtINSEXP = newLineEdit(QStringLiteral("txtINSEXP"));
    m_opDIP = new QRadioButton(QStringLiteral("Option2"), this);
    m_opDIP->setObjectName(QStringLiteral("opDIP"));
    m_opRIP = new QRadioButton(QStringLiteral("Option1"), this);
    m_opRIP->setObjectName(QStringLiteral("opRIP"));

    auto* grid = new QGridLayout(this);
    int row = 0;
    const auto add = [&](const QString& name, const QString& caption, QWidget* field) {
        addRow(grid, row++, newLabel(name, caption), field);
    };
    add(QStringLiteral("Label1"), QStringLiteral("Insumo:"), m_lbARTNRO);
    add(QStringLiteral("Label3"), QStringLiteral("D.I.T.:"), m_lbARTDCL);
    add(QStringLiteral("Label5"), QStringLiteral("NCM:"), m_lbARTNCM);
    add(QStringLiteral("Label7"), QStringLiteral("Item:"), m_lbARTITM);
    add(QStringLiteral("Label9"), QStringLiteral("SubItem:"), m_lbARTSBT);
    add(QStringLiteral("Label11"), QStringLiteral("Disponible:"), m_lbMaxDIPCAN);
    add(QStringLiteral("Label13"), QStringLiteral("Cantidad Producto:"), m_lbPRDCAN);
    // Each option stands beside the caption of the box it enables.
    grid->addWidget(m_opRIP, row, 2);
    add(QStringLiteral("Label15"), QStringLiteral("Relacion Insumo - Producto:"), m_lbRIPCAN);
    grid->addWidget(m_opDIP, row, 2);
    add(QStringLiteral("Label17"), QStringLiteral("Insumo a descargar:"), m_txtDIPCAN);
    add(QStringLiteral("Label6"), QStringLiteral("Mermas:"), m_txtMermas);
    add(QStringLiteral("Label4"), QStringLiteral("Perdidas:"), m_txtPerdidas);
    add(QStringLiteral("Label8"), QStringLiteral("C.T.C.:"), m_txtARTCTC);
    add(QStringLiteral("Label10"), QStringLiteral("Expediente:"), m_txtINSEXP);
    grid->addWidget(
        newLabel(QStringLiteral("Label2"), QStringLiteral("[F11] - Agregar - [ESC] Cerrar")), row,
        0, 1, 3);
    grid->setColumnMinimumWidth(1, 240);
}

void frmCargarInsumo::load()
{
    const ModuleState& state = moduleState();
    const DipCandidate& chosen = state.currentInput;
    m_lbARTNRO->setText(chosen.inputCode);
    m_lbARTDCL->setText(chosen.declaration);
    m_lbARTNCM->setText(chosen.tariffPosition);
    m_lbARTITM->setText(NumberFormat::format(chosen.item, QStringLiteral("000")));
    m_lbARTSBT->setText(NumberFormat::format(chosen.subItem, QStringLiteral("000")));
    m_lbMaxDIPCAN->setText(NumberFormat::format(chosen.quantity, QStringLiteral("00.00000000")));
    m_lbPRDCAN->setText(
        NumberFormat::format(state.PRDCAN * state.productMultiplier, QStringLiteral("00.00")));
    // The whole available stock is offered, with its relation per unit of product.
    m_txtDIPCAN->setText(NumberText::toText(chosen.quantity));
    derive(m_txtDIPCAN, m_lbRIPCAN, Derivation::Divide);
    m_txtMermas->setText(NumberText::toText(chosen.shrinkage));
    m_txtPerdidas->setText(NumberText::toText(chosen.loss));
    m_txtARTCTC->setText(chosen.ctc);
    m_txtINSEXP->setText(chosen.exportReference);
    m_opDIP->setChecked(true);
    setEntryMode(EntryMode::Quantity);
}

void frmCargarInsumo::setEntryMode(EntryMode mode)
{
    const bool byRelation = mode == EntryMode::Relation;
    m_lbRIPCAN->setEnabled(byRelation);
    m_txtDIPCAN->setEnabled(!byRelation);
    (byRelation ? m_lbRIPCAN : m_txtDIPCAN)->setFocus();
}

void frmCargarInsumo::relationChanged()
{
    if (m_opRIP->isChecked() && NumberText::holdsNumber(m_lbRIPCAN->text()))
        derive(m_lbRIPCAN, m_txtDIPCAN, Derivation::Multiply);
}

void frmCargarInsumo::quantityChanged()
{
    if (m_opDIP->isChecked() && NumberText::holdsNumber(m_txtDIPCAN->text()))
        derive(m_txtDIPCAN, m_lbRIPCAN, Derivation::Divide);
}

void frmCargarInsumo::derive(const QLineEdit* source, QLineEdit* target, Derivation derivation)
{
    // The product quantity is read back from its label, that is rounded to two decimals.
    const std::optional<double> value = NumberText::parse(source->text());
    const std::optional<double> product = NumberText::parse(m_lbPRDCAN->text());
    if (!value || !product)
        return;
    if (derivation == Derivation::Divide && *product == 0)
        return;
    const double result =
        derivation == Derivation::Multiply ? *value * *product : *value / *product;
    target->setText(NumberFormat::format(result, QStringLiteral("00.000000")));
}

void frmCargarInsumo::escapePressed()
{
    DipCandidate& chosen = moduleState().currentInput;
    chosen.inputCode.clear();
    chosen.declaration.clear();
    closeScreen();
}

void frmCargarInsumo::f11Pressed()
{
    GrabarInsumos();
}

bool frmCargarInsumo::GrabarInsumos()
{
    return ScreenErrors::guard(ScreenErrors::Layout::SourceFirst, saveLabel, [this] {
        if (!NumberText::holdsNumber(m_txtDIPCAN->text())) {
            Messages::show(
                QStringLiteral("Debe ingresar un valor númerico en Cantidad a descontar"),
                MessageExclamation | MessageOkOnly);
            return false;
        }
        const double available = NumberText::toNumber(m_lbMaxDIPCAN->text());
        const double quantity = NumberText::toNumber(m_txtDIPCAN->text());
        if (available < quantity) {
            Messages::show(QStringLiteral("Puede descargar hasta ") +
                               NumberFormat::format(available, QStringLiteral("00.000000")),
                           MessageExclamation | MessageOkOnly);
            return false;
        }
        if (quantity <= 0) {
            Messages::show(QStringLiteral("Debe ingresar un valor mayor a 0 (cero)"),
                           MessageExclamation | MessageOkOnly);
            return false;
        }
        DipCandidate& chosen = moduleState().currentInput;
        chosen.quantity = quantity;
        chosen.relationQuantity = NumberText::toNumber(m_lbRIPCAN->text());
        chosen.shrinkage = NumberText::toNumber(m_txtMermas->text());
        chosen.loss = NumberText::toNumber(m_txtPerdidas->text());
        chosen.ctc = m_txtARTCTC->text();
        chosen.exportReference = m_txtINSEXP->text();
        closeScreen();
        return true;
    });
}

} // namespace oquivran
