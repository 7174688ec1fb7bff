' The Printer object as a scripting client sees it: a queue the spooler does
' not know, the members of a printer that is not open, and the properties of
' a queue that exists (the spooler's first printer, when it has one).
Option Explicit

Dim passed, failed
passed = 0
failed = 0

Sub Check(ok, what)
  If ok Then
    passed = passed + 1
  Else
    failed = failed + 1
    WScript.Echo "FAILED: " & what
  End If
End Sub

Dim printer, code, text, source, value
Set printer = CreateObject("Vantrel.Printer")

' A queue the spooler does not know.
On Error Resume Next
printer.Initialize "Vantrel No Such Queue"
code = Err.Number
text = Err.Description
source = Err.Source
Err.Clear
On Error GoTo 0
Check code = &H80042003, "Initialize of a missing queue gave " & Hex(code)
Check text = "Could not open printer", "its description: " & text
Check source = "Vantrel.Printer.1", "its source: " & source

Function ReadMember(target, member)
  Select Case member
    Case "Name": ReadMember = target.Name
    Case "ServerName": ReadMember = target.ServerName
    Case "ShareName": ReadMember = target.ShareName
    Case "PortName": ReadMember = target.PortName
    Case "ModelName": ReadMember = target.ModelName
    Case "Comment": ReadMember = target.Comment
    Case "Location": ReadMember = target.Location
    Case "Local": ReadMember = target.Local
    Case "Network": ReadMember = target.Network
    Case "Shared": ReadMember = target.Shared
    Case "DriverVersion": ReadMember = target.DriverVersion
    Case "DriverDate": ReadMember = target.DriverDate
  End Select
End Function

' Still not open: every spooler member says so, setters and SendFile too.
Dim members, member
members = Array("Name", "ServerName", "ShareName", "PortName", "ModelName", "Comment", _
  "Location", "Local", "Network", "Shared", "DriverVersion", "DriverDate")
For Each member In members
  On Error Resume Next
  value = ReadMember(printer, member)
  code = Err.Number
  text = Err.Description
  Err.Clear
  On Error GoTo 0
  Check code = &H80042000 And text = "Printer object not initialized", _
    member & " before Initialize gave " & Hex(code) & " " & text
Next
On Error Resume Next
printer.Comment = "x"
Check Err.Number = &H80042000, "Comment = before Initialize gave " & Hex(Err.Number)
Err.Clear
printer.SendFile "C:\nothing.prn", ""
Check Err.Number = &H80042000, "SendFile before Initialize gave " & Hex(Err.Number)
Err.Clear
On Error GoTo 0

' A queue that exists: the test run names one, else the spooler's first.
Dim shell, network, queue, connections
Set shell = CreateObject("WScript.Shell")
queue = shell.ExpandEnvironmentStrings("%VANTREL_TEST_PRINTER%")
If queue = "%VANTREL_TEST_PRINTER%" Then queue = ""
If queue = "" Then
  On Error Resume Next
  Set network = CreateObject("WScript.Network")
  Set connections = network.EnumPrinterConnections
  If Err.Number = 0 Then
    If connections.Count >= 2 Then queue = connections.Item(1)
  End If
  Err.Clear
  On Error GoTo 0
End If
If queue = "" Then
  WScript.Echo "no printer in this spooler: the open printer's properties are not checked"
Else
  Set printer = CreateObject("Vantrel.Printer")
  On Error Resume Next
  printer.Initialize queue
  code = Err.Number
  Err.Clear
  value = printer.Name
  Check Err.Number = 0 And value = queue, "Name of " & queue & " is '" & value & "' (" & _
    Hex(Err.Number) & ")"
  Err.Clear
  value = printer.Local
  Check Err.Number = 0 And (value = True Or value = False), "Local of " & queue
  Err.Clear
  value = printer.ModelName
  Check Err.Number = 0, "ModelName of " & queue & " gave " & Hex(Err.Number)
  Err.Clear
  On Error GoTo 0
  Check code = 0, "Initialize " & queue & " gave " & Hex(code)
End If

WScript.Echo passed & " passed, " & failed & " failed"
If failed > 0 Then WScript.Quit 1
