' What every VBScript host of the tests shares; the runner puts it before the host's own
' script. A host checks with Check, ends with Finish: "N passed, N failed" and the failure count
' as cscript's exit code (cscript itself exits 0 on a script error).
Option Explicit

Dim passed, failed, workFolder
passed = 0
failed = 0
workFolder = WScript.Arguments(0)
' Tells the runner that the script engine ran this script: a host that exits before this line
' never reached the component.
CreateObject("Scripting.FileSystemObject").CreateTextFile(workFolder & "\host-started", True).Close

Sub Check(condition, what)
    If condition Then
        passed = passed + 1
    Else
        failed = failed + 1
        WScript.Echo "FAIL: " & what
    End If
End Sub

Sub CheckEqual(actual, expected, what)
    Check actual = expected, what & ": " & actual & " (expected " & expected & ")"
End Sub

Sub Finish()
    WScript.Echo passed & " passed, " & failed & " failed"
    WScript.Quit failed
End Sub

' Answers the component's messages as the operator would, and keeps what they said.
Class MessageAnswers
    Public Count
    Public LastPrompt
    Public LastStyle
    Public LastTitle
    Public Answer
    Private Sub Class_Initialize()
        Count = 0
        Answer = 1
    End Sub
    Public Function Show(prompt, style, title)
        Count = Count + 1
        LastPrompt = prompt
        LastStyle = style
        LastTitle = title
        WScript.Echo "message: " & Replace(prompt, vbCrLf, " | ")
        Show = Answer
    End Function
End Class

' An embedded data object over a new SQLite file of the work folder with the tables made.
Function NewStore(name, tables)
    Dim store
    Set store = CreateObject("oQUIVRAN.SqlDataObject")
    store.OpenDatabase workFolder & "\" & name
    store.CreateTables tables
    Set NewStore = store
End Function

' The component bound to a discharge store and a host store, its messages answered by answers.
Function BoundComponent(store, hostStore, answers)
    Dim component
    Set component = CreateObject("oQUIVRAN.clQUIVRAN")
    component.VincularDatos store
    component.VincularDatosMorvik hostStore
    component.setMessageHandler answers
    Set BoundComponent = component
End Function

Sub RunSql(store, sql)
    store.SetSql sql
    store.ExecuteSql
End Sub

' The first column of the first row of a query.
Function Scalar(store, sql)
    Dim rs, found
    store.SetSql sql
    found = store.OpenRecordset(rs)
    Scalar = rs.Fields(0).Value
End Function

' The stock of the discharge tests: input A on two declarations, B on one; product P1 takes
' 1.5 A and 0.25 B (obligatory, with shrinkage) per unit.
Sub SeedStock(store)
    RunSql store, "insert into INTINS (INTDCL, INTFOF, INTIOK, INTVEN, INTADU, INTCTC) values ('D2025', '2025-06-01', 1, '2027-12-31', '001', '')"
    RunSql store, "insert into INTINS (INTDCL, INTFOF, INTIOK, INTVEN, INTADU, INTCTC) values ('D2026', '2026-02-01', 1, '2027-12-31', '001', '')"
    RunSql store, "insert into INS (INTDCL, ARTNRO, ARTITM, ARTSBT, ARTCAT, ARTDSC, ARTPRE, ARTNCM, ARTCTC) values ('D2025', 'A', 1, 1, 10, 10, 2.0, '1234.56.78', 'CTC1')"
    RunSql store, "insert into INS (INTDCL, ARTNRO, ARTITM, ARTSBT, ARTCAT, ARTDSC, ARTPRE, ARTNCM, ARTCTC) values ('D2026', 'A', 1, 1, 25, 25, 2.5, '1234.56.78', 'CTC1')"
    RunSql store, "insert into INS (INTDCL, ARTNRO, ARTITM, ARTSBT, ARTCAT, ARTDSC, ARTPRE, ARTNCM, ARTCTC) values ('D2026', 'B', 2, 1, 12.5, 12.5, 1.0, '1234.56.78', 'CTC1')"
    RunSql store, "insert into PRD (CATNRO, PRDNRO, PRDMUL) values ('CAT', 'P1', 1)"
    RunSql store, "insert into RIP (CATNRO, PRDNRO, ARTNRO, RPADES, RIPCAN, RIPMER, RIPPER, TRPMER, TRPPER, DIPOBL) values ('CAT', 'P1', 'A', 'Input A', 1.5, 0, 0, 0, 0, 0)"
    RunSql store, "insert into RIP (CATNRO, PRDNRO, ARTNRO, RPADES, RIPCAN, RIPMER, RIPPER, TRPMER, TRPPER, DIPOBL) values ('CAT', 'P1', 'B', 'Input B', 0.25, 2, 0.1, 0, 1, 0)"
End Sub

Function Available(store, declaration, inputCode)
    Available = CDbl(Scalar(store, "select ARTDSC from INS where INTDCL = '" & declaration & "' and ARTNRO = '" & inputCode & "'"))
End Function

Sub SetSubItem(component, interno, subItem, quantity)
    component.INTERNO = interno
    component.SUBITEM = subItem
    component.CATNRO = "CAT"
    component.PRDNRO = "P1"
    component.PRDCAN = quantity
End Sub

' A sub-item discharged, numbered as item 1, read back through Obtener_Insumos and removed,
' with the database checked after each step. The same steps whichever data object is bound.
' Returns the recordset Obtener_Insumos handed back.
Function DischargeNumberReadRemove(component, store)
    Dim answers, rs, rows, done
    Set answers = New MessageAnswers
    component.setMessageHandler answers
    SetSubItem component, "OP1", 1, 20

    ' A: 30, from 10 (2025) and 20 of 25 (2026); B: 5 of 12.5 (2026).
    Check component.dischargeAsProposed(False), "dischargeAsProposed"
    CheckEqual answers.Count, 0, "messages during the discharge"
    CheckEqual component.CantidadDescontada, 35, "CantidadDescontada"
    CheckEqual component.CIFDescontado, 75, "CIFDescontado"
    CheckEqual CLng(Scalar(store, "select count(*) from DIP where EXTINT = 'OP1' and EXTSBT = 1")), 3, "discharge lines"
    CheckEqual Available(store, "D2025", "A"), 0, "D2025/A available"
    CheckEqual Available(store, "D2026", "A"), 5, "D2026/A available"
    CheckEqual Available(store, "D2026", "B"), 7.5, "D2026/B available"

    Check component.EnviarGrupoIdSub("ignored", "1", "1"), "EnviarGrupoIdSub"
    Check component.ResetIdItems(), "ResetIdItems"
    Check component.EnviarNroItem(1, "1"), "EnviarNroItem"
    CheckEqual CLng(Scalar(store, "select count(*) from DIP where EXTINT = 'OP1' and EXTITM = 1")), 3, "lines of item 1"

    done = component.Obtener_Insumos(1, rs)
    Check done, "Obtener_Insumos"
    Check IsObject(rs), "Obtener_Insumos hands a recordset back"
    If IsObject(rs) Then Set DischargeNumberReadRemove = rs Else DischargeNumberReadRemove = Empty
    If IsObject(rs) Then
        CheckEqual rs.RecordCount, 3, "inputs of item 1"
        CheckEqual rs.Fields.Item("ARTDCL").Value, "D2025", "oldest declaration first"
        rows = 0
        Do While Not rs.EOF
            rows = rows + 1
            WScript.Echo "input: " & rs.Fields.Item("ARTDCL").Value & " " & rs.Fields.Item("ARTITM").Value & " " & rs.Fields.Item("ARTSBT").Value & " " & rs.Fields.Item("RALCAN").Value
            rs.MoveNext
        Loop
        CheckEqual rows, 3, "rows read to the end"
    End If

    Check component.EliminarInsumo(), "EliminarInsumo"
    CheckEqual CLng(Scalar(store, "select count(*) from DIP where EXTINT = 'OP1'")), 0, "lines after the removal"
    CheckEqual Available(store, "D2025", "A"), 10, "D2025/A given back"
    CheckEqual Available(store, "D2026", "A"), 25, "D2026/A given back"
    CheckEqual Available(store, "D2026", "B"), 12.5, "D2026/B given back"
    CheckEqual component.CantidadDescontada, 35, "CantidadDescontada kept after the removal"
    CheckEqual answers.Count, 0, "messages"
End Function
