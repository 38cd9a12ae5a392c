// cscript regread.js NAME...: prints NAME=value for each registry value (a trailing backslash
// names a key's default value), or NAME=<absent>. One process for many reads: each Wine process
// start costs more than all the reads together.
var shell = WScript.CreateObject("WScript.Shell");
for (var i = 0; i < WScript.Arguments.length; i++) {
    var name = WScript.Arguments(i), value;
    try {
        value = shell.RegRead(name);
    } catch (e) {
        value = "<absent>";
    }
    WScript.Echo(name + "=" + value);
}
