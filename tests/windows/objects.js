// The same surface from JScript: creation, errors as exceptions, Enumerator
// over _NewEnum (which JScript asks for as a method), and value objects.
var passed = 0, failed = 0;
function check(ok, what) {
  if (ok) { passed++; } else { failed++; WScript.Echo("FAILED: " + what); }
}
function hex(n) { return (n < 0 ? n + 0x100000000 : n).toString(16).toUpperCase(); }

var printers = new ActiveXObject("Vantrel.Printers");
printers.Add(printers.Create());
printers.Add(printers.Create());
var seen = 0;
for (var e = new Enumerator(printers); !e.atEnd(); e.moveNext()) seen++;
check(seen == 2, "Enumerator visited " + seen);

var printer = new ActiveXObject("Vantrel.Printer");
try {
  var name = printer.Name;
  check(false, "Printer.Name did not throw");
} catch (error) {
  check(hex(error.number) == "80042000", "Printer.Name threw " + hex(error.number));
  check(error.description == "Printer object not initialized", "description " + error.description);
}

try {
  new ActiveXObject("Vantrel.PrintJobSchedule");
  check(false, "Vantrel.PrintJobSchedule was created");
} catch (error) {
  check(true, "");
}

var filter = new ActiveXObject("Vantrel.PrintersFilter");
check(filter.Local == true && filter.Network == true && filter.Shared == false,
      "a new filter reads " + filter.Local + "/" + filter.Network + "/" + filter.Shared);
filter.Shared = true;
check(filter.Shared == true, "Shared after put");

var parameters = new ActiveXObject("Antrel.CommandParameters");
parameters.ParentWindow = 65537;
parameters.Execute = false;
check(parameters.ParentWindow == 65537, "ParentWindow " + parameters.ParentWindow);
check(parameters.Execute == false, "Execute " + parameters.Execute);

WScript.Echo(passed + " passed, " + failed + " failed");
