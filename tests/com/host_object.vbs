' Host (b): the host's own data-access object, a VBScript class that runs the statements on
' the embedded default and keeps their text, bound through VincularDatos. Its recordsets are
' its own too, read by the component through the members a recordset has.

' A host's recordset: what an ADO recordset offers the component.
Class HostRecordset
    Public Inner
    Public Number
    Public Property Get EOF()
        EOF = Inner.EOF
    End Property
    Public Sub MoveNext()
        Inner.MoveNext
    End Sub
    Public Sub MoveFirst()
        Inner.MoveFirst
    End Sub
    Public Property Get RecordCount()
        RecordCount = Inner.RecordCount
    End Property
    Public Property Get Fields()
        Set Fields = Inner.Fields
    End Property
End Class

Class HostDataObject
    Public Store
    Public Statements
    Public Opened
    Public InputsNumber
    Private lastSql
    Private Sub Class_Initialize()
        Statements = ""
        Opened = 0
    End Sub
    Public Sub SetSql(sql)
        Statements = Statements & sql & vbLf
        lastSql = sql
        Store.SetSql sql
    End Sub
    Public Function OpenRecordset(rs)
        Dim inner
        OpenRecordset = Store.OpenRecordset(inner)
        Set rs = New HostRecordset
        Set rs.Inner = inner
        rs.Number = Opened + 1
        If InStr(lastSql, "AS RALCAN") > 0 Then InputsNumber = rs.Number
        Opened = Opened + 1
    End Function
    Public Function ExecuteSql()
        ExecuteSql = Store.ExecuteSql()
    End Function
End Class

Dim component, store, hostStore, dataObject, handed
Set store = NewStore("discharge.db", 0)
Set hostStore = NewStore("host.db", 1)
SeedStock store
Set dataObject = New HostDataObject
Set dataObject.Store = store

Set component = CreateObject("oQUIVRAN.clQUIVRAN")
component.VincularDatos dataObject
component.VincularDatosMorvik hostStore
Set handed = DischargeNumberReadRemove(component, store)
' The host's own recordset, the one its object opened last: a HostRecordset knows its number.
CheckEqual handed.Number, dataObject.InputsNumber, "Obtener_Insumos hands back the host's own recordset"
Check dataObject.Opened > 0, "the host's object opened the queries"
WScript.Echo "statements the host's object saw:" & vbLf & dataObject.Statements
Check InStr(dataObject.Statements, "update DIP set EXTITM = 0 where EXTINT = 'OP1'" & vbLf) > 0, "ResetIdItems's text"
Check InStr(dataObject.Statements, "update DIP set idroot = 1 where EXTSBT = 1 and EXTINT = 'OP1'" & vbLf) > 0, "EnviarGrupoIdSub's text"
Check InStr(dataObject.Statements, "update DIP set EXTITM = 1 where EXTINT = 'OP1' and (EXTSBT = 1 or idroot = 1) " & vbLf) > 0, "EnviarNroItem's text"
Check InStr(dataObject.Statements, "select ARTDCL, ARTITM, ARTSBT, ARTNCM, format(SUM(RALCAN),'00.00') AS RALCAN, DIPCTC, DIPEXP from DIP, INTINS where DIP.ARTDCL = INTINS.INTDCL and EXTINT = 'OP1' and EXTITM = 1 GROUP BY ARTDCL, ARTITM, ARTSBT, ARTNCM, DIPCTC, DIPEXP,INTFOF order by INTFOF" & vbLf) > 0, "Obtener_Insumos's text"

' With atomic writes on, an object without the transaction members refuses the discharge
' clearly and writes nothing.
Dim answers
Set answers = New MessageAnswers
component.setMessageHandler answers
component.atomicWrites = True
Check component.atomicWrites, "atomic writes on"
SetSubItem component, "OP2", 1, 20
Check Not component.dischargeAsProposed(False), "atomic discharge through an object without transactions"
CheckEqual answers.Count, 1, "its message"
CheckEqual CLng(Scalar(store, "select count(*) from DIP where EXTINT = 'OP2'")), 0, "nothing written"
Finish
