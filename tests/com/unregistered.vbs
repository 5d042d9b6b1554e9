' Host (d): after regsvr32 /u, the component cannot be created.
Dim component
On Error Resume Next
Set component = CreateObject("oQUIVRAN.clQUIVRAN")
Check Err.Number <> 0, "CreateObject fails after regsvr32 /u (error " & Err.Number & ")"
Check Not IsObject(component), "no component"
Err.Clear
On Error GoTo 0
Finish
