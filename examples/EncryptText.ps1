# Cifra's functions from PowerShell:  .\EncryptText.ps1 -Folder C:\FOLDER
# The folder holds Cifra.dll, for the processor that PowerShell runs on. EncryptText.cs has the
# declarations.
param([Parameter(Mandatory = $true)][string] $Folder)
$ErrorActionPreference = 'Stop'

# Windows then finds Cifra.dll in this folder by its name.
$env:PATH = "$((Resolve-Path $Folder).Path);$env:PATH"
Add-Type -TypeDefinition (Get-Content -Raw (Join-Path $PSScriptRoot 'EncryptText.cs'))

$encrypted = [Cifra]::Encrypt('meet me at noon', 'a key of up to 56 bytes')
$encrypted
[Cifra]::Decrypt($encrypted, 'a key of up to 56 bytes')
[Cifra]::Md5('abc')
