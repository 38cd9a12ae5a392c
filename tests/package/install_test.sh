#!/usr/bin/env bash
# The MSI end to end under Wine's msiexec, in the build tree's prefix: failed installs leave
# nothing, an install registers the installed file and the Explorer-like host shows the command,
# a newer package replaces the older one, and removal leaves no file and no registry entry.
# The Windows 11 command: the installer runs its registration script when and as it should, with
# the sample sender standing in for PowerShell and reporting how it was called (Wine's
# powershell.exe is a stub that does nothing, so whether Windows registers the package is for a
# real Windows 11 to show). The stand-in exits 2 every time, as a script that fails.
#
#   install_test.sh WINE-RUN DIST-FOLDER MSI VERSION MAKE-MSI SHELLHOST SENDER SCRATCH
set -euo pipefail
[ $# -eq 8 ] || { echo "usage: install_test.sh WINE-RUN DIST MSI VERSION MAKE-MSI SHELLHOST SENDER SCRATCH" >&2; exit 2; }
run="$1" dist="$2" msi="$3" version="$4" make_msi="$5" host="$6" sender="$7" scratch="$8"
here="$(cd "$(dirname "$0")" && pwd)"

clsid='{F2196025-497B-4A61-AEA7-27325149132A}'
libid='{30DD7C9C-949D-45E9-B5D1-18A15B569313}'
iid='{8F5696C2-8EED-4011-9D24-41EA286FC73A}'
app_paths='HKLM\SOFTWARE\Microsoft\Windows\CurrentVersion\App Paths\Pelloc.exe'
caption='Transferred with Pelloc'

drive_c="$("$run" --prefix)/drive_c"
home="$drive_c/quillet-package-test"      # C:\quillet-package-test
default_dir="$drive_c/Program Files/Pelloc"
failures=0

fail() { echo "FAIL: $*"; failures=$((failures + 1)); }
winpath() { printf 'Z:%s' "$(realpath -m "$1" | sed 's|/|\\|g')"; }
# Wine's msiexec can hang (a folder it cannot create under a file): a hang is a failure.
msiexec() { timeout 120 "$run" msiexec "$@" /qn >/dev/null 2>&1; }

# Registry values, all in one Wine process: NAME=value or NAME=<absent> per line.
values=""
read_values() {
    values="$("$run" cscript //nologo "$(winpath "$here/regread.js")" "$@" | tr -d '\r')"
}
value_of() { grep -F "$1=" <<<"$values" | head -1 | cut -d= -f2-; }
product_code() { msiinfo export "$1" Property | sed -n 's/^ProductCode\t//p' | tr -d '\r'; }
uninstall_key() { printf 'HKLM\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\%s\\' "$(product_code "$1")"; }

handler_keys=()
for root in '*' Directory Folder lnkfile; do handler_keys+=("HKCR\\$root\\shellex\\ContextMenuHandlers\\FTKel\\"); done

# Registered from the DLL at $1 (a Windows path) by package $2, which the installer lists with
# version $3, and not package $4; and the host shows the command.
expect_installed() {
    local dll="$1" package="$2" version="$3" other="$4" state="$5" name
    local server="HKCR\\CLSID\\$clsid\\InprocServer32\\" typelib="HKCR\\TypeLib\\$libid\\1.0\\0\\win64\\"
    local progid='HKCR\Quillet.FTKelMN\CLSID\' listed="$(uninstall_key "$package")DisplayVersion"
    local unlisted="$(uninstall_key "$other")DisplayVersion"
    read_values "$server" "$typelib" "$progid" "$listed" "$unlisted" "${handler_keys[@]}"
    [ "$(value_of "$server")" = "$dll" ] || fail "$state: InprocServer32 is '$(value_of "$server")', not '$dll'"
    [ "$(value_of "$typelib")" = "$dll" ] || fail "$state: the type library is '$(value_of "$typelib")', not '$dll'"
    [ "$(value_of "$progid")" = "$clsid" ] || fail "$state: the ProgID names '$(value_of "$progid")'"
    [ "$(value_of "$listed")" = "$version" ] || fail "$state: the installer lists version '$(value_of "$listed")'"
    [ "$(value_of "$unlisted")" = "<absent>" ] || fail "$state: $(basename "$other") is installed too"
    for name in "${handler_keys[@]}"; do
        [ "$(value_of "$name")" = "$clsid" ] || fail "$state: $name is '$(value_of "$name")'"
    done
    expect_command "$state"
}

# The Explorer-like host, right-clicking a real file.
expect_command() {
    local out status=0
    out="$("$run" "$host" 'C:\quillet-package-test\item.txt' 2>&1)" || status=$?
    [ $status -eq 0 ] && grep -qF "$caption" <<<"$out" || fail "$1: the host shows no command (exit $status): $out"
}
expect_no_command() {
    local status=0
    "$run" "$host" 'C:\quillet-package-test\item.txt' >/dev/null 2>&1 || status=$?
    [ $status -eq 3 ] || fail "$1: the host exits $status, not 3 (no handler added a command)"
}

# Nothing of ours left: class, ProgIDs, type library, interface, handler keys, the remembered
# folder, either package's entry in the installed programs; and no DLL in Program Files.
# Further names ($2...) are read along, for the caller.
expect_nothing() {
    local state="$1" name
    shift
    local names=("HKCR\\CLSID\\$clsid\\" 'HKCR\Quillet.FTKelMN\' 'HKCR\Quillet.FTKelMN.1\'
        "HKCR\\TypeLib\\$libid\\1.0\\" "HKCR\\Interface\\$iid\\" "${handler_keys[@]}"
        'HKLM\SOFTWARE\Pelloc\Quillet\InstallDir' "$(uninstall_key "$msi")DisplayName"
        "$(uninstall_key "$scratch/newer.msi")DisplayName")
    read_values "${names[@]}" "$@"
    for name in "${names[@]}"; do
        [ "$(value_of "$name")" = "<absent>" ] || fail "$state: $name is left ('$(value_of "$name")')"
    done
    [ ! -e "$default_dir/Quillet.dll" ] || fail "$state: Quillet.dll left in Program Files"
}

# The stand-in for PowerShell appends how it was called to its report; the last call counts.
powershell='C:\quillet-package-test\ps\powershell.exe'
record="$home/ps/sender-report.txt"
script_call() {
    if [ -f "$record" ]; then
        grep '^sender: command line: ' "$record" | tail -1 | tr -d '\r' | sed 's/.*QuilletPackage.ps1/QuilletPackage.ps1/'
    fi
}
expect_script_call() {
    local got
    got="$(script_call)"
    [ "$got" = "$2" ] || fail "$1: the registration script was called as '$got', not '$2'"
    rm -f "$record"
}
build_key='HKLM\SOFTWARE\Microsoft\Windows NT\CurrentVersion'
real_build=""
# Windows 11 or not, as the installer reads it (put back at the end).
set_build() {
    [ -n "$real_build" ] || real_build="$("$run" reg query "$build_key" /v CurrentBuildNumber 2>/dev/null |
        tr -d '\r' | awk '/CurrentBuildNumber/ {print $3}')"
    "$run" reg add "$build_key" /v CurrentBuildNumber /d "$1" /f >/dev/null 2>&1
}

old_path=""
set_app_paths=false
had_default_dir=false
[ -e "$default_dir" ] && had_default_dir=true
installed=""   # the package to remove when the test stops early
cleanup() {
    [ -z "$installed" ] || msiexec /x "$(winpath "$installed")" || true
    if ! $set_app_paths; then
        :
    elif [ -n "$old_path" ]; then
        "$run" reg add "$app_paths" /v Path /d "$old_path" /f >/dev/null 2>&1 || true
    else
        "$run" reg delete "$app_paths" /v Path /f >/dev/null 2>&1 || true
    fi
    [ -z "$real_build" ] || "$run" reg add "$build_key" /v CurrentBuildNumber /d "$real_build" /f >/dev/null 2>&1 || true
    rm -rf "$home"
}
trap cleanup EXIT

rm -rf "$home" "$scratch"
mkdir -p "$home" "$scratch"
# A newer build: the same file, a higher version.
IFS=. read -r major minor patch <<<"$version"
newer="$major.$minor.$((patch + 1))"
mkdir -p "$scratch/newer"
cp "$dist/Quillet.dll" "$dist/QuilletCommand.dll" "$dist/QuilletPackage.ps1" "$scratch/newer/"
cp "$dist/Quillet-$version.msix" "$scratch/newer/Quillet-$newer.msix"
"$make_msi" "$scratch/newer" "$newer" "$scratch/newer.msi" 2>/dev/null

# Failed installs: a drive that does not exist, and a folder so deep that the DLL's path no
# longer fits registration (which then fails after writing the shell handler keys).
msiexec /i "$(winpath "$msi")" 'INSTALLDIR=Q:\nowhere\Pelloc\' && fail "install on a missing drive succeeded"
deep='C:\quillet-package-test'
while [ ${#deep} -lt 250 ]; do deep="$deep\\deeper-and-deeper"; done
msiexec /i "$(winpath "$msi")" "INSTALLDIR=$deep\\" && fail "install too deep to register succeeded"
expect_nothing "after the failed installs" "$app_paths\\Path"
[ -z "$(find "$home" -name Quillet.dll)" ] || fail "a failed install left Quillet.dll behind"

# The sender installed where App Paths says (what was there is put back at the end), and one
# real file to right-click.
old_path="$(value_of "$app_paths\\Path")"
[ "$old_path" != "<absent>" ] || old_path=""
mkdir -p "$home/sender"
cp "$sender" "$home/sender/Pelloc.exe"
mkdir -p "$home/ps"
cp "$sender" "$home/ps/powershell.exe"
echo "item" > "$home/item.txt"
set_app_paths=true
"$run" reg add "$app_paths" /v Path /d 'C:\quillet-package-test\sender' /f >/dev/null 2>&1

# Installed into a folder of the user's choice (with a blank, as Program Files has), the Windows 11
# command forced on (Wine reports build 7601): the files beside each other, and the script registers
# the package there.
chosen='C:\quillet-package-test\Chosen Folder\Quillet.dll'
msiexec /i "$(winpath "$msi")" 'INSTALLDIR=C:\quillet-package-test\Chosen Folder\' WINDOWS11MENU=1 "POWERSHELL=$powershell" ||
    fail "install failed"
for file in Quillet.dll QuilletCommand.dll QuilletPackage.ps1 "Quillet-$version.msix:Quillet.msix"; do
    cmp -s "$dist/${file%%:*}" "$home/Chosen Folder/${file##*:}" || fail "the installed ${file##*:} is not the shipped one"
done
installed="$msi"
expect_script_call "after install" 'QuilletPackage.ps1" register-user'
expect_installed "$chosen" "$msi" "$version" "$scratch/newer.msi" "after install"

# The newer package replaces it where it is; Windows 11's first build, not forced.
set_build 22000
msiexec /i "$(winpath "$scratch/newer.msi")" "POWERSHELL=$powershell" || fail "upgrade failed"
installed="$scratch/newer.msi"
expect_script_call "after upgrade on build 22000" 'QuilletPackage.ps1" register-user'
expect_installed "$chosen" "$scratch/newer.msi" "$newer" "$msi" "after upgrade"

# Removal: no command, no file, no registry entry, and the package removed first.
msiexec /x "$(winpath "$scratch/newer.msi")" "POWERSHELL=$powershell" || fail "uninstall failed"
installed=""
expect_script_call "after uninstall" 'QuilletPackage.ps1" unregister'
expect_no_command "after uninstall"
expect_nothing "after uninstall"
[ ! -e "$home/Chosen Folder" ] || fail "uninstall left the chosen folder"

# Without INSTALLDIR: the Pelloc folder under Program Files, and gone again at removal. On Windows 11
# but forced off: the Windows 11 command is not registered.
set_build 22631
msiexec /i "$(winpath "$scratch/newer.msi")" WINDOWS11MENU=0 "POWERSHELL=$powershell" ||
    fail "install to the default folder failed"
installed="$scratch/newer.msi"
expect_script_call "WINDOWS11MENU=0 on build 22631" ""
[ -f "$default_dir/Quillet.dll" ] || fail "Quillet.dll is not in Program Files\\Pelloc"
expect_command "in the default folder"
msiexec /x "$(winpath "$scratch/newer.msi")" WINDOWS11MENU=0 || fail "uninstall from the default folder failed"
installed=""
expect_nothing "after uninstall from the default folder"
$had_default_dir || [ ! -e "$default_dir" ] || fail "the Pelloc folder is left"

if [ $failures -ne 0 ]; then
    echo "$failures check(s) failed"
    exit 1
fi
echo "failed installs, install, upgrade and removal: all checks passed"
