#include "frmAgregarDIP.h"

#include "CandidatePosition.h"
#include "DischargeSave.h"
#include "ErrorMessage.h"
#include "ListViewRows.h"
#include "Messages.h"
#include "ModuleState.h"
#include "NumberFormat.h"
#include "NumberText.h"
#include "frmBuscarInsumo.h"
#include "frmModificar.h"
#include "modManejoInsumos.h"

#include <QFrame>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace oquivran {

namespace {

// Columns of lstINSUMOS.
enum Column {
    Declaration = 0,
    Input = 1,
    Item = 2,
    SubItem = 3,
    Quantity = 4,
    UnitPrice = 5,
    Shrinkage = 6,
    ShrinkageKind = 7,
    Loss = 8,
    LossKind = 9,
    Ctc = 10,
    Position = 11,
    ExportReference = 12,
};

const QString loadLabel = QStringLiteral(" - seccion [oQUIVRAN.frmAgregarDIP_Load]");
const QString modifyLabel = QStringLiteral(" - Sección [oQUIVRAN.frmAgregarDIP.f_Modificar]");
const QString verifyLabel = QStringLiteral(" - Sección [oQUIVRAN.frmAgregarDIP.f_VerificarDIP]");
const QString removeLabel = QStringLiteral(" - seccion [oquivran.frmAgregarDIP.EliminarInterno]");

QString kindText(qint16 kind)
{
    return kind != 0 ? QStringLiteral("#") : QStringLiteral("%");
}

// A legend square filled with the colour of a line state.
QFrame* legendShape(const QString& name, const QColor& colour, QWidget* parent)
{
    auto* shape = new QFrame(parent);
    shape->setObjectName(name);
    shape->setFrameShape(QFrame::Box);
    shape->setFixedSize(28, 16);
    shape->setAutoFillBackground(true);
    QPalette palette = shape->palette();
    palette.setColor(QPalette::Window, colour);
    shape->setPalette(palette);
    return shape;
}

bool sameStockLine(const DipCandidate& a, const DipCandidate& b)
{
    return a.declaration == b.declaration && a.inputCode == b.inputCode && a.item == b.item &&
           a.subItem == b.subItem;
}

QString threeDigits(const QString& number)
{
    return NumberFormat::format(NumberText::toNumber(number), QStringLiteral("000"));
}

} // namespace

frmAgregarDIP::frmAgregarDIP(QWidget* parent)
    : ScreenDialog(QStringLiteral("frmAgregarDIP"), QStringLiteral("Agregar insumos"), parent)
{
    buildControls();
    load();
}

void frmAgregarDIP::buildControls()
{
    auto* header = new QHBoxLayout;
    const auto addValue = [&](const QString& captionName, const QString& caption,
                              const QString& valueName) {
        QLabel* captionLabel = newLabel(captionName, caption);
        QLabel* value = newLabel(valueName);
        QFont bold = value->font();
        bold.setBold(true);
        value->setFont(bold);
        value->setTextInteractionFlags(Qt::TextSelectableByMouse);
        header->addWidget(captionLabel);
        header->addWidget(value);
        header->addSpacing(24);
        return value;
    };
    m_lbProducto = addValue(QStringLiteral("Label4"), QStringLiteral("PRODUCTO "),
                            QStringLiteral("lbProducto"));
    m_lbCatalogo = addValue(QStringLiteral("Label6"), QStringLiteral("CATALOGO "),
                            QStringLiteral("lbCatalogo"));
    m_lbInterno =
        addValue(QStringLiteral("Label7"), QStringLiteral("INTERNO "), QStringLiteral("lbInterno"));
    m_lbCantidad = addValue(QStringLiteral("Label9"), QStringLiteral("CANTIDAD "),
                            QStringLiteral("lbCantidad"));
    header->addStretch();
    m_lbVDE =
        newLabel(QStringLiteral("lbVDE"), QStringLiteral("MODO: Valores Decimales Extendidos"));
    m_lbVDE->setStyleSheet(QStringLiteral("color: rgb(0, 0, 160); font-weight: bold;"));
    header->addWidget(m_lbVDE);

    m_lstINSPRD = ListViewRows::create(QStringLiteral("lstINSPRD"),
                                       {QStringLiteral("Insumo"), QStringLiteral("Descripción"),
                                        QStringLiteral("Relación"), QStringLiteral("Cant. Total")},
                                       this);
    m_lstINSPRD->setFocusPolicy(Qt::NoFocus);
    m_lstINSPRD->setMaximumHeight(150);
    m_lstINSUMOS = ListViewRows::create(
        QStringLiteral("lstINSUMOS"),
        {QStringLiteral("Nro DCL"), QStringLiteral("Insumo"), QStringLiteral("Item"),
         QStringLiteral("Subit"), QStringLiteral("Cantidad"), QStringLiteral("Unitario"),
         QStringLiteral("Merma"), QStringLiteral("Tip"), QStringLiteral("Perdida"),
         QStringLiteral("Tip"), QStringLiteral("C.T.C."), QStringLiteral("ord"),
         QStringLiteral("Exped")},
        this);

    auto* legend = new QGridLayout;
    const QColor defaultText = m_lstINSUMOS->palette().color(QPalette::Text);
    legend->addWidget(legendShape(QStringLiteral("Shape4"), defaultText, this), 0, 0);
    legend->addWidget(newLabel(QStringLiteral("Label2"), QStringLiteral("Completo")), 0, 1);
    legend->addWidget(legendShape(QStringLiteral("Shape5"), ListViewRows::teal(), this), 1, 0);
    legend->addWidget(newLabel(QStringLiteral("Label8"), QStringLiteral("Incompleto")), 1, 1);
    legend->addWidget(legendShape(QStringLiteral("Shape6"), ListViewRows::buttonFace(), this), 2,
                      0);
    legend->addWidget(newLabel(QStringLiteral("Label10"), QStringLiteral("No hay stock")), 2, 1);
    legend->setRowStretch(3, 1);

    auto* stock = new QHBoxLayout;
    stock->addWidget(m_lstINSUMOS, 1);
    stock->addLayout(legend);

    m_lbMensaje = newLabel(QStringLiteral("lbMensaje"));
    m_lbMensaje->setStyleSheet(QStringLiteral("color: rgb(192, 0, 0); font-weight: bold;"));
    m_lbTeclas = newLabel(QStringLiteral("lbTeclas"),
                          QStringLiteral("ENTER [Modificar unitario] - ESC [Cancelar] - F11 "
                                         "[PROCESAR Y GUARDAR]"));
    m_lbBlock = newLabel(QStringLiteral("lbBlock"),
                         QStringLiteral("Debido a que no hay stock suficiente se bloquearon los "
                                        "comandos"));

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(header);
    layout->addWidget(
        newLabel(QStringLiteral("Label1"), QStringLiteral("Relación INSUMO-PRODUCTO")));
    layout->addWidget(m_lstINSPRD);
    layout->addWidget(
        newLabel(QStringLiteral("Label5"), QStringLiteral("Insumos encontrados en stock")));
    layout->addLayout(stock, 1);
    layout->addWidget(m_lbMensaje);
    layout->addWidget(m_lbTeclas);
    layout->addWidget(m_lbBlock);
    resize(1300, 660);
}

void frmAgregarDIP::load()
{
    ErrorMessage::guard(loadLabel, [this] {
        ModuleState& state = moduleState();
        // Both notices follow the flag as it stands before the allocation: the key help shows
        // and the block notice stays hidden on every opening.
        m_lbTeclas->setVisible(!m_complete);
        m_lbBlock->setVisible(m_complete);
        m_lbVDE->setVisible(state.extendedDecimals);
        state.ctcMemory = {CtcMemoryEntry()};
        m_lbCatalogo->setText(state.CATNRO);
        m_lbInterno->setText(state.INTERNO);
        m_lbProducto->setText(state.PRDNRO);
        m_lbCantidad->setText(NumberText::toText(state.PRDCAN));
        if (modManejoInsumos::GetRIP())
            fillRelations();
        m_complete = modManejoInsumos::Obtener_INS_A_DIP();
        for (int i = 0; i < state.candidateLines.size(); ++i)
            appendLine(state.candidateLines.at(i), i + 1, RowLayout::Loaded);
        if (m_lstINSUMOS->topLevelItemCount() > 0)
            m_lstINSUMOS->setCurrentItem(m_lstINSUMOS->topLevelItem(0));
        if (!m_complete)
            m_lbMensaje->setText(
                QStringLiteral("No se puede descontar ya que no hay insumos suficientes."));
        return true;
    });
    ListViewRows::fitColumns(m_lstINSPRD);
    ListViewRows::fitColumns(m_lstINSUMOS);
    m_lstINSUMOS->setFocus();
}

void frmAgregarDIP::fillRelations()
{
    const ModuleState& state = moduleState();
    for (const RipEntry& relation : state.relationList) {
        ListViewRows::append(m_lstINSPRD,
                             {relation.inputCode, relation.description,
                              NumberFormat::format(relation.relationQuantity, state.valueFormat),
                              NumberFormat::format(relation.requiredQuantity, state.valueFormat)});
    }
}

void frmAgregarDIP::appendLine(const DipCandidate& line, int position, RowLayout layout)
{
    auto* row = ListViewRows::append(m_lstINSUMOS, {});
    writeRow(row, line, position, layout);
    if (line.allocationStatus == AllocationIncomplete)
        ListViewRows::paint(row, ListViewRows::teal(), ExportReference);
    else if (line.allocationStatus == AllocationNoStock)
        ListViewRows::paint(row, ListViewRows::buttonFace(), ExportReference);
}

void frmAgregarDIP::writeRow(QTreeWidgetItem* row, const DipCandidate& line, int position,
                             RowLayout layout)
{
    const ModuleState& state = moduleState();
    row->setText(Quantity, NumberFormat::format(line.quantity, state.valueFormat));
    row->setText(Ctc, line.ctc);
    row->setText(ExportReference, line.exportReference);
    if (layout == RowLayout::Edited) {
        row->setText(UnitPrice, NumberFormat::format(line.unitPrice, QStringLiteral("00.000000")));
        row->setText(Shrinkage, NumberFormat::format(line.shrinkage, QStringLiteral("00.00000")));
        row->setText(Loss, NumberFormat::format(line.loss, QStringLiteral("00.00000")));
        return;
    }
    row->setText(Declaration, line.declaration);
    row->setText(Input, line.inputCode);
    row->setText(Item, QString::number(line.item));
    row->setText(SubItem, QString::number(line.subItem));
    const QString pricePattern =
        layout == RowLayout::Loaded ? QStringLiteral("00.0000000") : QStringLiteral("00.000000");
    row->setText(UnitPrice, NumberFormat::format(line.unitPrice, pricePattern));
    row->setText(Shrinkage, NumberFormat::format(line.shrinkage, state.secondFormat));
    row->setText(ShrinkageKind, kindText(line.shrinkageKind));
    row->setText(Loss, NumberFormat::format(line.loss, state.secondFormat));
    row->setText(LossKind, kindText(line.lossKind));
    row->setText(Position, QString::number(position));
}

void frmAgregarDIP::f11Pressed()
{
    if (!m_complete && Messages::show(QStringLiteral("Confirma descargar estos insumos"),
                                      MessageYesNo | MessageQuestion) == AnswerNo)
        return;
    f_Aceptar();
}

bool frmAgregarDIP::controlKey(QWidget* control, QKeyEvent* key)
{
    if (control != m_lstINSUMOS)
        return false;
    switch (key->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        // Lines are edited only on a complete allocation.
        if (m_complete)
            f_Modificar();
        return true;
    case Qt::Key_Insert:
        NuevoInsumo();
        return true;
    case Qt::Key_Delete:
        deleteSelected();
        return true;
    default:
        return false;
    }
}

void frmAgregarDIP::showProgress(const QString& text)
{
    m_lbMensaje->setText(text);
    m_lbMensaje->repaint();
}

void frmAgregarDIP::f_Aceptar()
{
    const DischargeSave::Outcome outcome = DischargeSave::run([this](DischargeSave::Progress step) {
        switch (step) {
        case DischargeSave::Progress::Writing:
            showProgress(QStringLiteral("Generando descuento de insumos..."));
            break;
        case DischargeSave::Progress::WriteFailed:
            showProgress(QStringLiteral("ERROR!"));
            break;
        case DischargeSave::Progress::UpdatingStock:
            showProgress(QStringLiteral("Actualizando stock..."));
            break;
        }
    });
    if (outcome == DischargeSave::Outcome::Saved)
        escapePressed();
}

bool frmAgregarDIP::f_VerificarDIP()
{
    return ErrorMessage::guard(verifyLabel,
                               [] { return modManejoInsumos::candidateLinesHaveCtc(); });
}

void frmAgregarDIP::f_Modificar()
{
    ErrorMessage::guard(modifyLabel, [this] {
        ModuleState& state = moduleState();
        state.editFlag = false;
        QTreeWidgetItem* row = ListViewRows::selected(m_lstINSUMOS);
        if (!row)
            return false;
        const QString position = row->text(Position);
        const DipCandidate& line = CandidatePosition::line(CandidatePosition::fromText(position));
        frmModificar screen(position,
                            {row->text(Quantity), row->text(UnitPrice), row->text(Shrinkage),
                             row->text(Loss), row->text(Ctc), line.tariffPosition},
                            this);
        screen.exec();
        if (state.editFlag) {
            writeRow(row, CandidatePosition::line(CandidatePosition::fromText(position)), 0,
                     RowLayout::Edited);
            ListViewRows::fitColumns(m_lstINSUMOS);
        }
        return true;
    });
}

void frmAgregarDIP::NuevoInsumo()
{
    ModuleState& state = moduleState();
    state.currentInput.declaration.clear();
    state.currentInput.inputCode.clear();
    {
        frmBuscarInsumo search(this);
        search.exec();
    }
    const DipCandidate chosen = state.currentInput;
    if (chosen.declaration.isEmpty() || chosen.inputCode.isEmpty())
        return;
    for (const DipCandidate& line : std::as_const(state.candidateLines)) {
        if (sameStockLine(line, chosen)) {
            Messages::show(QStringLiteral("El insumo ") + chosen.inputCode +
                               QStringLiteral(" perteneciente a la DIT: ") + chosen.declaration +
                               QStringLiteral(" ya esta seleccionado") + QStringLiteral("\r\n") +
                               QStringLiteral("si desea agregar mas de ese insumo, presione "
                                              "ENTER para modificar su cantidad"),
                           MessageExclamation | MessageOkOnly);
            return;
        }
    }
    state.candidateLines.append(chosen);
    appendLine(chosen, int(state.candidateLines.size()), RowLayout::Added);
    m_lstINSUMOS->setCurrentItem(m_lstINSUMOS->topLevelItem(m_lstINSUMOS->topLevelItemCount() - 1));
    ListViewRows::fitColumns(m_lstINSUMOS);
}

void frmAgregarDIP::deleteSelected()
{
    QTreeWidgetItem* row = ListViewRows::selected(m_lstINSUMOS);
    if (!row)
        return;
    const QString prompt = QStringLiteral("Confirma eliminar el insumo [ ") + row->text(Input) +
                           QStringLiteral(" ] de la DIT [ ") + row->text(Declaration) +
                           QStringLiteral(" ] ?");
    if (Messages::show(prompt, MessageYesNo | MessageQuestion, QStringLiteral("Insumos")) !=
        AnswerYes)
        return;
    if (!EliminarInsumo(row->text(Declaration), row->text(Input), row->text(Item),
                        row->text(SubItem)))
        return;
    delete m_lstINSUMOS->takeTopLevelItem(m_lstINSUMOS->indexOfTopLevelItem(row));
    // The rows stand for the candidate lines in order and "ord" is what ENTER edits, so the
    // rows after the removed one take their lines' new positions.
    for (int i = 0; i < m_lstINSUMOS->topLevelItemCount(); ++i)
        m_lstINSUMOS->topLevelItem(i)->setText(Position, QString::number(i + 1));
}

bool frmAgregarDIP::EliminarInsumo(const QString& declaration, const QString& inputCode,
                                   const QString& item, const QString& subItem)
{
    return ErrorMessage::guard(removeLabel, [&] {
        if (m_lstINSUMOS->topLevelItemCount() == 0)
            return false;
        const QString itemText = threeDigits(item);
        const QString subItemText = threeDigits(subItem);
        QList<DipCandidate> kept;
        for (const DipCandidate& line : std::as_const(moduleState().candidateLines)) {
            const bool matches =
                line.declaration == declaration && line.inputCode == inputCode &&
                NumberFormat::format(line.item, QStringLiteral("000")) == itemText &&
                NumberFormat::format(line.subItem, QStringLiteral("000")) == subItemText;
            if (!matches)
                kept.append(line);
        }
        moduleState().candidateLines = kept;
        return true;
    });
}

} // namespace oquivran
