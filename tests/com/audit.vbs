' Host (g): the audit trail through COM. Refused while atomic writes are off; with them on, a
' discharge and its removal leave their rows in DIPAUD under the host's operator name, and
' turning atomic writes off turns the trail off.
Dim component, store, answers
Set store = NewStore("discharge.db", 0)
store.CreateTables 2
SeedStock store
Set answers = New MessageAnswers
Set component = BoundComponent(store, NewStore("host.db", 1), answers)
Check Not component.auditTrail, "the trail is off by default"
Check Not component.setAuditTrail(True, "Operador COM"), "the trail refused without atomic writes"
CheckEqual answers.Count, 1, "the refusal's message"
Check InStr(answers.LastPrompt, "necesita las escrituras at") > 0, "the refusal says why"

component.atomicWrites = True
Check component.setAuditTrail(True, "Operador COM"), "the trail on with atomic writes"
Check component.auditTrail, "the trail is on"
SetSubItem component, "OP1", 1, 20
Check component.dischargeAsProposed(False), "dischargeAsProposed"
CheckEqual CLng(Scalar(store, "select count(*) from DIPAUD where AUDQUE = 'DIP alta' and AUDUSR = 'Operador COM' and EXTINT = 'OP1'")), 3, "a row for each line written"
CheckEqual CLng(Scalar(store, "select count(*) from DIPAUD where AUDQUE = 'INS.ARTDSC'")), 3, "a row for each stock line refreshed"
CheckEqual CDbl(Scalar(store, "select sum(AUDNUE) from DIPAUD where AUDQUE = 'DIP alta'")), 35, "the quantities written"
Check component.EliminarInsumo(), "EliminarInsumo"
CheckEqual CLng(Scalar(store, "select count(*) from DIPAUD where AUDQUE = 'DIP baja'")), 3, "a row for each line removed"
CheckEqual CLng(Scalar(store, "select count(*) from DIPAUD where AUDQUE = 'INS.ARTDSC'")), 6, "the stock given back"
CheckEqual answers.Count, 1, "no message after the refusal"

component.atomicWrites = False
Check Not component.auditTrail, "atomic writes off turn the trail off"
Finish
