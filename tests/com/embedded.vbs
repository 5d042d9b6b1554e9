' Host (a): the embedded default. The component bound to oQUIVRAN.SqlDataObject discharges a
' sub-item headless, numbers it, hands back its inputs and removes it.
Dim component, store, hostStore
Set store = NewStore("discharge.db", 0)
Set hostStore = NewStore("host.db", 1)
SeedStock store

Set component = CreateObject("oQUIVRAN.clQUIVRAN")
component.VincularDatos store
component.VincularDatosMorvik hostStore
Dim handed
Set handed = DischargeNumberReadRemove(component, store)
CheckEqual TypeName(handed), "IoqRecordset", "Obtener_Insumos hands back the component's recordset"
Finish
