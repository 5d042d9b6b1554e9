' Host (f): AgregarInsumo shows the allocation screen over a real display and returns only
' when the operator closes it. The runner's operator presses F11 on the screen, which accepts
' the proposal: the discharge lines are then in the database.
Dim component, store, answers, shown
Set store = NewStore("discharge.db", 0)
SeedStock store
Set component = CreateObject("oQUIVRAN.clQUIVRAN")
component.VincularDatos store
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
Finish
