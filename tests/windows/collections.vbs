' For Each over a collection's enumerator, and a CommandParameters round trip.
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

Dim printers, item, count
Set printers = CreateObject("Vantrel.Printers")
printers.Add printers.Create
printers.Add printers.Create
printers.Add printers.Create
Check printers.Count = 3, "Count is " & printers.Count
count = 0
For Each item In printers
  count = count + 1
  Check TypeName(item) = "IPrinter", "element " & count & " is a " & TypeName(item)
Next
Check count = 3, "For Each visited " & count

printers.RemoveAll
Check printers.Count = 0, "Count after RemoveAll is " & printers.Count

On Error Resume Next
Set item = printers.Item(1)
Check Err.Number = &H80070057, "Item(1) of an empty collection gave " & Hex(Err.Number)
Err.Clear
On Error GoTo 0

Dim parameters
Set parameters = CreateObject("Antrel.CommandParameters")
parameters.ParentWindow = CLng(123456)
parameters.Execute = True
parameters.IsSupported = True
parameters.RequiresBidirectionalPort = False
parameters.HasUserInterface = True
parameters.RequiresManagementRights = False
Check parameters.ParentWindow = 123456, "ParentWindow is " & parameters.ParentWindow
Check parameters.Execute = True, "Execute"
Check parameters.IsSupported = True, "IsSupported"
Check parameters.RequiresBidirectionalPort = False, "RequiresBidirectionalPort"
Check parameters.HasUserInterface = True, "HasUserInterface"
Check parameters.RequiresManagementRights = False, "RequiresManagementRights"
' A 16-bit integer is no window handle: the put is ignored.
parameters.ParentWindow = 7
Check parameters.ParentWindow = 123456, "ParentWindow after a short is " & parameters.ParentWindow

WScript.Echo passed & " passed, " & failed & " failed"
