# Registers or removes the sparse package (Quillet.msix, beside this script) that brings the Windows 11
# command into Explorer's top-level menu. The installer runs it; it can be run by hand as well:
#
#   powershell -NoProfile -ExecutionPolicy Bypass -File QuilletPackage.ps1 register|register-user|unregister
#
#   register      (administrator) every older copy removed, then this one staged with this folder as
#                 its external location and provisioned: every user of the machine gets it, existing
#                 users at their next sign-in
#   register-user (the installing user) the same package registered for this user at once, without
#                 waiting for a sign-in
#   unregister    (administrator) deprovisioned and removed for every user, whatever its version or
#                 publisher
#
# Exit code 0 on success, 1 on failure; what happened goes to standard error and to
# %TEMP%\Quillet-package.log.
param([Parameter(Mandatory = $true)][ValidateSet('register', 'register-user', 'unregister')][string]$Action)

$ErrorActionPreference = 'Stop'
$name = 'Pelloc.Quillet'
$folder = $PSScriptRoot
$log = Join-Path $env:TEMP 'Quillet-package.log'

function Write-Log([string]$text) {
    $line = '{0:u} {1}: {2}' -f (Get-Date), $Action, $text
    [Console]::Error.WriteLine($line)
    Add-Content -Path $log -Value $line -ErrorAction SilentlyContinue
}

# Windows PowerShell has no await for WinRT operations: wait on the task the runtime makes of it.
function Wait-Deployment($operation) {
    Add-Type -AssemblyName System.Runtime.WindowsRuntime
    $asTask = [System.WindowsRuntimeSystemExtensions].GetMethods() | Where-Object {
        $_.Name -eq 'AsTask' -and $_.GetParameters().Count -eq 1 -and
        $_.GetParameters()[0].ParameterType.Name -eq 'IAsyncOperationWithProgress`2' } | Select-Object -First 1
    $result = $asTask.MakeGenericMethod([Windows.Management.Deployment.DeploymentResult],
        [Windows.Management.Deployment.DeploymentProgress]).Invoke($null, @($operation)).GetAwaiter().GetResult()
    if ($result.ExtendedErrorCode) { throw "$($result.ErrorText) ($($result.ExtendedErrorCode.HResult))" }
}

function Get-Manager {
    [void][Windows.Management.Deployment.PackageManager, Windows.Management.Deployment, ContentType = WindowsRuntime]
    New-Object Windows.Management.Deployment.PackageManager
}

# Every copy of ours, whatever its version or publisher: a new certificate is a new package family,
# and a copy left behind would show a second command.
function Remove-Ours {
    $manager = Get-Manager
    foreach ($package in $manager.FindPackages() | Where-Object { $_.Id.Name -eq $name }) {
        # Deprovisioned first, or Windows registers it again at the next sign-in.
        try { Wait-Deployment $manager.DeprovisionPackageForAllUsersAsync($package.Id.FamilyName) }
        catch { Write-Log "deprovisioning $($package.Id.FamilyName): $_" }
        Write-Log "removing $($package.Id.FullName)"
        Remove-AppxPackage -Package $package.Id.FullName -AllUsers
    }
}

try {
    switch ($Action) {
        'register' {
            Remove-Ours
            $manager = Get-Manager
            $options = New-Object Windows.Management.Deployment.StagePackageOptions
            $options.ExternalLocationUri = [Uri]$folder
            Write-Log "staging $folder\Quillet.msix with external location $folder"
            Wait-Deployment $manager.StagePackageByUriAsync([Uri](Join-Path $folder 'Quillet.msix'), $options)
            $staged = $manager.FindPackages() | Where-Object { $_.Id.Name -eq $name } | Select-Object -First 1
            Write-Log "provisioning $($staged.Id.FamilyName) for all users"
            Wait-Deployment $manager.ProvisionPackageForAllUsersAsync($staged.Id.FamilyName)
        }
        'register-user' {
            # The package is staged already: this only registers it for the user who installs.
            Write-Log "registering for $env:USERNAME"
            Add-AppxPackage -Path (Join-Path $folder 'Quillet.msix') -ExternalLocation $folder
        }
        'unregister' { Remove-Ours }
    }
    Write-Log 'done'
    exit 0
} catch {
    Write-Log "failed: $_"
    exit 1
}
