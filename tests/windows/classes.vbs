' Every class by ProgID, the two registration quirks, and the error a client
' sees from an object that is not bound to a printer yet.
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

Function TryCreate(progid, ByRef code)
  Dim made
  Set made = Nothing
  On Error Resume Next
  Set made = CreateObject(progid)
  code = Err.Number
  Err.Clear
  On Error GoTo 0
  Set TryCreate = made
End Function

Dim progids, progid, made, code
progids = Array("Antrel.CommandParameters.1", "Antrel.CommandParameters", _
  "Vantrel.PrinterPort.1", "Vantrel.PrinterPort", "Vantrel.PrinterConfiguratio.1", _
  "Vantrel.PrinterConfiguration", "Vantrel.PrinterQueue.1", "Vantrel.PrinterQueue", _
  "Vantrel.Jobs.1", "Vantrel.Jobs", "Vantrel.PrinterStatus.1", "Vantrel.PrinterStatus", _
  "Vantrel.Kesto.1", "Vantrel.Kesto", "Vantrel.ImmediateCommand.1", "Vantrel.ImmediateCommand", _
  "Vantrel.Printer.1", "Vantrel.Printer", "Vantrel.PrinterConfigurationF", _
  "Vantrel.QueryResponse.1", "Vantrel.QueryResponse", "Vantrel.Printers.1", "Vantrel.Printers", _
  "Vantrel.PrintersFilter.1", "Vantrel.PrintersFilter", "Vantrel.Job.1", "Vantrel.Job", _
  "Vantrel.JobStatus.1", "Vantrel.JobStatus", "Vantrel.JobsFilter.1", "Vantrel.JobsFilter", _
  "Vantrel.PrintServer.1", "Vantrel.PrintServer", "Vantrel.QueryCommand.1", "Vantrel.QueryCommand")
For Each progid In progids
  Set made = TryCreate(progid, code)
  Check code = 0 And Not made Is Nothing, "CreateObject " & progid & " gave " & Hex(code)
Next

' The job schedule's ProgID names a CLSID the library does not create. The
' script engine reports any creation failure as its own error 429.
Set made = TryCreate("Vantrel.PrintJobSchedule", code)
Check code = 429 And made Is Nothing, "CreateObject Vantrel.PrintJobSchedule gave " & code

' Both configuration classes register one ProgID; the filter's row wins.
Set made = TryCreate("Vantrel.PrinterConfiguratio.1", code)
Check InStr(TypeName(made), "PrinterConfigurationFilter") > 0, _
  "Vantrel.PrinterConfiguratio.1 is a " & TypeName(made)
' The version-independent name keeps its own CLSID; only its CurVer points at
' the shared key.
Set made = TryCreate("Vantrel.PrinterConfiguration", code)
Check TypeName(made) = "IPrinterConfiguration", _
  "Vantrel.PrinterConfiguration is a " & TypeName(made)
Dim shell
Set shell = CreateObject("WScript.Shell")
Check shell.RegRead("HKCR\Vantrel.PrinterConfiguration\CurVer\") = "Vantrel.PrinterConfiguratio.1", _
  "CurVer of Vantrel.PrinterConfiguration"
Check shell.RegRead("HKCR\Vantrel.PrintJobSchedule\CLSID\") = "{1E9A3A0F-B984-4ACC-B178-A97DA48AC9C6}", _
  "CLSID of Vantrel.PrintJobSchedule"

' A printer that is not initialized refuses its spooler members.
Dim printer, name
Set printer = CreateObject("Vantrel.Printer")
On Error Resume Next
name = printer.Name
code = Err.Number
Check code = &H80042000, "Printer.Name gave " & Hex(code)
Check Err.Description = "Printer object not initialized", "description: " & Err.Description
Check Err.Source = "Vantrel.Printer.1", "source: " & Err.Source
Err.Clear
' Its children are there before Initialize, unbound.
Dim queue
Set queue = printer.Queue
Check Err.Number = 0 And Not queue Is Nothing, "Printer.Queue gave " & Hex(Err.Number)
Err.Clear
name = printer.Status.Text
Check Err.Number = &H80042100, "Printer.Status.Text gave " & Hex(Err.Number)
Check Err.Description = "PrinterStatus object not initialized", "description: " & Err.Description
Check Err.Source = "Vantrel.PrinterStatus.1", "source: " & Err.Source
Err.Clear
On Error GoTo 0

' The root object tells the build.
Dim root
Set root = CreateObject("Vantrel.Kesto")
Check Len(root.Version) > 0 And InStr(root.Version, ".") > 0, "Kesto.Version is " & root.Version
Check root.Platform = "x64", "Kesto.Platform is " & root.Platform

WScript.Echo passed & " passed, " & failed & " failed"
