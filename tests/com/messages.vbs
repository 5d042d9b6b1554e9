' Host (c): the component's messages through the host's object, its errors as COM errors, and
' texts with accents.
Dim component, store, answers, result
Set store = NewStore("discharge.db", 0)
SeedStock store
Set answers = New MessageAnswers
Set component = CreateObject("oQUIVRAN.clQUIVRAN")
component.setMessageHandler answers
component.VincularDatos store

' PRDCAN 0: the message, answered here, and no screen.
SetSubItem component, "OP1", 1, 0
result = component.AgregarInsumo()
CheckEqual result, False, "AgregarInsumo with PRDCAN 0"
CheckEqual answers.Count, 1, "one message"
CheckEqual answers.LastPrompt, "La cantidad del producto debe ser mayor a cero", "its text"
CheckEqual answers.LastStyle, 48, "exclamation, OK"
CheckEqual answers.LastTitle, "oQUIVRAN", "its title"

' A member the component does not have: a trappable error 438.
On Error Resume Next
component.NoSuchMember 1
CheckEqual Err.Number, 438, "unknown member"
Err.Clear
' A sub-item beyond 16 bits: Overflow (6) with its source, the sub-item unchanged.
component.SUBITEM = 40000
CheckEqual Err.Number, 6, "SUBITEM 40000"
CheckEqual Err.Description, "Overflow", "its description"
CheckEqual Err.Source, "oQUIVRAN.clQUIVRAN", "its source"
Err.Clear
' An embedded data object used before it is open.
Dim closed
Set closed = CreateObject("oQUIVRAN.SqlDataObject")
closed.SetSql "select 1"
Check Err.Number <> 0, "a statement before OpenDatabase fails"
CheckEqual Err.Source, "oQUIVRAN.SqlDataObject", "its source"
Err.Clear
On Error GoTo 0

' A quote in INTERNO is refused before any statement runs: the common message, critical, and
' nothing written.
answers.Count = 0
SetSubItem component, "OP'1", 1, 20
CheckEqual component.dischargeAsProposed(False), False, "discharge with a quote in INTERNO"
CheckEqual answers.Count, 1, "one message"
CheckEqual answers.LastStyle, 16, "critical"
Check InStr(answers.LastPrompt, "comilla simple") > 0, "the refusal's text"
CheckEqual CLng(Scalar(store, "select count(*) from DIP")), 0, "nothing written"

' Texts with accents and Ñ round-trip through BSTR.
answers.Count = 0
SetSubItem component, "OPÑ-Añejo", 2, 20
Check component.dischargeAsProposed(False), "discharge of OPÑ-Añejo"
CheckEqual Scalar(store, "select distinct EXTINT from DIP where EXTSBT = 2"), "OPÑ-Añejo", "INTERNO as written"
CheckEqual component.CantidadDescontada, 35, "CantidadDescontada"
CheckEqual answers.Count, 0, "no message"
Finish
