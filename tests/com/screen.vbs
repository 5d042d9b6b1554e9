' Host (f): the screens over a real display. AgregarInsumo shows the allocation screen and
' returns only when the operator closes it: the runner's operator presses F11 on it, which
' accepts the proposal, so the discharge lines are then in the database. GenerarIMP shows the
' print screen, which the operator leaves with ESC. The host's database is bound: the print
' screen reads the operation's invoices from it.
Dim component, store, hostStore, answers, shown
Set store = NewStore("discharge.db", 0)
Set hostStore = NewStore("host.db", 1)
SeedStock store
Set component = CreateObject("oQUIVRAN.clQUIVRAN")
component.VincularDatos store
component.VincularDatosMorvik hostStore
Set answers = New MessageAnswers
component.setMessageHandler answers
SetSubItem component, "OP1", 1, 20

WScript.Echo "AgregarInsumo: the screen is open"
shown = component.AgregarInsumo()
WScript.Echo "AgregarInsumo returned " & shown
Check shown, "AgregarInsumo accepted"
CheckEqual component.CantidadDescontada, 35, "CantidadDescontada"
CheckEqual component.CIFDescontado, 75, "CIFDescontado"
CheckEqual CLng(Scalar(store, "select count(*) from DIP where EXTINT = 'OP1' and EXTSBT = 1")), 3, "discharge lines"
CheckEqual Available(store, "D2025", "A"), 0, "D2025/A available"
CheckEqual Available(store, "D2026", "A"), 5, "D2026/A available"
CheckEqual Available(store, "D2026", "B"), 7.5, "D2026/B available"
CheckEqual answers.Count, 0, "messages"

WScript.Echo "GenerarIMP: the print screen is open"
component.GenerarIMP
WScript.Echo "GenerarIMP returned"
CheckEqual CLng(Scalar(store, "select count(*) from DIP where EXTINT = 'OP1' and EXTSBT = 1")), 3, "discharge lines after the print screen"
' ESC checks the screen's data on the way out, and nothing has been printed yet: the official
' date is still empty.
CheckEqual answers.Count, 1, "messages of the print screen"
CheckEqual answers.LastPrompt, "En Oficialización debe poner una Fecha Valida", "the print screen's message"
CheckEqual answers.LastStyle, 48, "exclamation, OK only"
Finish
