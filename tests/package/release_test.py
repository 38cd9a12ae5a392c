#!/usr/bin/python3
"""The release path on Linux, without Wine: packaging/make-release signs copies of the build's files
with throwaway certificates, and what Windows checks before it registers a sparse package is checked
here: each signature (and that a tampered copy fails), the manifest's rules, the publisher against
the certificate, the block map against the bytes of the zip.

  release_test.py DIST-FOLDER VERSION SCRATCH
"""
import base64
import hashlib
import os
import re
import shutil
import struct
import subprocess
import sys
import zipfile
import zlib
import xml.etree.ElementTree as ET

HERE = os.path.dirname(os.path.abspath(__file__))
PACKAGING = os.path.join(HERE, "..", "..", "packaging")
CLSID = "5BD9714D-3358-4677-BA52-7E98E2ED0814"
NS = {
    "f": "http://schemas.microsoft.com/appx/manifest/foundation/windows10",
    "uap": "http://schemas.microsoft.com/appx/manifest/uap/windows10",
    "uap10": "http://schemas.microsoft.com/appx/manifest/uap/windows10/10",
    "rescap": "http://schemas.microsoft.com/appx/manifest/foundation/windows10/restrictedcapabilities",
    "desktop4": "http://schemas.microsoft.com/appx/manifest/desktop/windows10/4",
    "desktop5": "http://schemas.microsoft.com/appx/manifest/desktop/windows10/5",
    "com": "http://schemas.microsoft.com/appx/manifest/com/windows10",
    "b": "http://schemas.microsoft.com/appx/2010/blockmap",
}
# Certificate subject (as openssl -subj takes it) -> the Publisher Windows compares with it.
PUBLISHERS = [
    ("/CN=Quillet Test", "CN=Quillet Test"),
    ("/C=DE/ST=Berlin/L=Berlin/O=Pelloc/CN=Quillet Release",
     "CN=Quillet Release, O=Pelloc, L=Berlin, S=Berlin, C=DE"),
    (r"/C=DE/O=Pelloc, Inc./CN=Quillet\+Test/emailAddress=release@pelloc.example",
     'E=release@pelloc.example, CN="Quillet+Test", O="Pelloc, Inc.", C=DE'),
]
SIGNED = ["Quillet.dll", "QuilletCommand.dll", "QuilletPackage.ps1"]
failures = []


def check(condition, message):
    if not condition:
        failures.append(message)
        print("FAIL:", message)


def run(*command, **options):
    return subprocess.run(command, capture_output=True, text=True, **options)


def verifies(path, cert):
    return run("osslsigncode", "verify", "-CAfile", cert, "-in", path).returncode == 0


def make_certificates(scratch):
    key = os.path.join(scratch, "key.pem")
    run("openssl", "genrsa", "-out", key, "2048", check=True)
    certs = []
    for index, (subject, _) in enumerate(PUBLISHERS):
        cert = os.path.join(scratch, f"cert{index}.pem")
        run("openssl", "req", "-x509", "-new", "-key", key, "-out", cert, "-days", "2", "-subj", subject,
            "-addext", "extendedKeyUsage=codeSigning", "-addext", "keyUsage=digitalSignature", check=True)
        certs.append(cert)
    return key, certs


def release(dist, version, folder, *signing, env=None):
    shutil.rmtree(folder, ignore_errors=True)
    os.makedirs(folder)
    for name in SIGNED + ["Quillet.dll.debug", "QuilletCommand.dll.debug"]:
        shutil.copy(os.path.join(dist, name), folder)
    result = run(os.path.join(PACKAGING, "make-release"), folder, version, *signing, env=env)
    check(result.returncode == 0, f"make-release {' '.join(signing)} failed: {result.stderr}")
    return result.stdout


def tampered(path, scratch):
    """A copy with one byte of its content changed."""
    copy = os.path.join(scratch, "tampered-" + os.path.basename(path))
    shutil.copy(path, copy)
    if path.endswith(".msi"):
        run("msibuild", copy, "-q", "UPDATE Property SET Value = '0' WHERE Property = 'ARPNOMODIFY'", check=True)
        return copy
    data = bytearray(open(path, "rb").read())
    if path.endswith(".msix"):
        at = data.index(b"IHDR")  # inside the stored logo
    elif path.endswith(".ps1"):
        at = data.index(b"$name")
    else:
        at = len(data) // 2
    data[at] ^= 0x01
    open(copy, "wb").write(data)
    return copy


def check_manifest(manifest, version, publisher):
    root = ET.fromstring(manifest)
    declared = dict(re.findall(r'xmlns:(\w+)="([^"]+)"', manifest.decode()))
    ignorable = set(root.get("IgnorableNamespaces", "").split())
    check(root.tag == f"{{{NS['f']}}}Package", f"root element {root.tag}")
    for prefix in ("uap", "uap10", "rescap", "desktop4", "desktop5", "com"):
        check(declared.get(prefix) == NS[prefix], f"prefix {prefix} is {declared.get(prefix)}")
        check(prefix in ignorable, f"{prefix} is not in IgnorableNamespaces")
    identity = root.find("f:Identity", NS)
    check(identity.get("Version") == version + ".0", f"version {identity.get('Version')}")
    check(identity.get("Publisher") == publisher, f"publisher {identity.get('Publisher')!r}, not {publisher!r}")
    check(identity.get("ProcessorArchitecture") == "neutral", "architecture")
    check(root.findtext("f:Properties/uap10:AllowExternalContent", namespaces=NS) == "true",
          "AllowExternalContent is not true")
    capabilities = {c.get("Name") for c in root.findall("f:Capabilities/rescap:Capability", NS)}
    check(capabilities == {"runFullTrust", "unvirtualizedResources"}, f"capabilities {capabilities}")
    # Windows takes GUIDs without braces, verb ids of letters and digits, and these item types only.
    types = set()
    for item in root.iter(f"{{{NS['desktop5']}}}ItemType"):
        kind = item.get("Type")
        types.add(kind)
        check(kind in ("*", "Directory", "Directory\\Background") or re.fullmatch(r"\.[^.\\]+", kind),
              f"item type {kind}")
        for verb in item.findall("desktop5:Verb", NS):
            check(re.fullmatch(r"[A-Za-z0-9]+", verb.get("Id")), f"verb id {verb.get('Id')}")
            check(verb.get("Clsid") == CLSID, f"verb CLSID {verb.get('Clsid')}")
    check(types == {"*", "Directory"}, f"item types {types}")
    classes = root.findall(".//com:SurrogateServer/com:Class", NS)
    check([(c.get("Id"), c.get("Path"), c.get("ThreadingModel")) for c in classes]
          == [(CLSID, "QuilletCommand.dll", "STA")], "the surrogate server's class")
    return root


def check_block_map(path, package):
    """The block map against the zip's own bytes, read without make-msix's code."""
    data = open(path, "rb").read()
    block_map = ET.fromstring(package.read("AppxBlockMap.xml"))
    check(block_map.get("HashMethod") == "http://www.w3.org/2001/04/xmlenc#sha256", "hash method")
    files = {f.get("Name"): f for f in block_map.findall("b:File", NS)}
    footprint = {"AppxBlockMap.xml", "[Content_Types].xml", "AppxSignature.p7x"}
    listed = [i for i in package.infolist() if i.filename not in footprint]
    payload = [i.filename for i in listed if i.filename != "AppxManifest.xml"]
    check(payload == sorted(payload, key=str.lower), f"payload order {payload}")
    check(sorted(files) == sorted(i.filename.replace("/", "\\") for i in listed), f"block map lists {sorted(files)}")
    for info in listed:
        entry = files.get(info.filename.replace("/", "\\"))
        if entry is None:
            continue
        name_length, extra_length = struct.unpack("<HH", data[info.header_offset + 26:info.header_offset + 30])
        check(int(entry.get("LfhSize")) == 30 + name_length + extra_length, f"{info.filename}: LfhSize")
        content = package.read(info.filename)
        check(int(entry.get("Size")) == len(content), f"{info.filename}: size")
        start = info.header_offset + 30 + name_length + extra_length
        packed = data[start:start + info.compress_size]
        for number, block in enumerate(entry.findall("b:Block", NS)):
            chunk = content[number * 65536:(number + 1) * 65536]
            check(base64.b64decode(block.get("Hash")) == hashlib.sha256(chunk).digest(),
                  f"{info.filename}: hash of block {number}")
            if info.compress_type == zipfile.ZIP_DEFLATED:
                size = int(block.get("Size"))
                check(zlib.decompressobj(-15).decompress(packed[:size]) == chunk,
                      f"{info.filename}: block {number} does not inflate on its own")
                packed = packed[size:]
            else:
                check(block.get("Size") is None, f"{info.filename}: a stored block with a size")


def main():
    dist, version, scratch = sys.argv[1:4]
    shutil.rmtree(scratch, ignore_errors=True)
    os.makedirs(scratch)
    key, certs = make_certificates(scratch)

    for cert, (subject, publisher) in zip(certs, PUBLISHERS):
        shown = run(os.path.join(PACKAGING, "make-msix"), "--publisher", cert).stdout.strip()
        check(shown == publisher, f"{subject}: publisher {shown!r}, not {publisher!r}")

    # Unsigned: built all the same, said so, and nothing verifies.
    folder = os.path.join(scratch, "unsigned")
    out = release(dist, version, folder)
    check("nothing is signed" in out, f"an unsigned release does not say so: {out}")
    msix, msi = f"Quillet-{version}.msix", f"Quillet-{version}.msi"
    for name in SIGNED + [msix, msi]:
        check(not verifies(os.path.join(folder, name), certs[0]), f"unsigned {name} verifies")

    # Signed with a certificate and key, and with a .pfx and its password.
    pfx = os.path.join(scratch, "sign.pfx")
    run("openssl", "pkcs12", "-export", "-inkey", key, "-in", certs[2], "-out", pfx, "-passout", "pass:s3cret",
        check=True)
    runs = [(certs[1], PUBLISHERS[1][1], ("--cert", certs[1], "--key", key), None),
            (certs[2], PUBLISHERS[2][1], ("--pfx", pfx), dict(os.environ, QUILLET_SIGN_PASSWORD="s3cret"))]
    for number, (cert, publisher, signing, env) in enumerate(runs):
        folder = os.path.join(scratch, f"signed{number}")
        release(dist, version, folder, *signing, env=env)
        for name in SIGNED + [msix, msi]:
            path = os.path.join(folder, name)
            check(verifies(path, cert), f"{signing[0]}: {name} does not verify")
            check(not verifies(tampered(path, scratch), cert), f"{signing[0]}: a tampered {name} verifies")
        with zipfile.ZipFile(os.path.join(folder, msix)) as package:
            root = check_manifest(package.read("AppxManifest.xml"), version, publisher)
            logo = root.findtext("f:Properties/f:Logo", namespaces=NS).replace("\\", "/")
            check(logo in package.namelist(), f"the logo {logo} is not in the package")
            check_block_map(os.path.join(folder, msix), package)
        # The installer carries the signed files, not the build's.
        inside = os.path.join(folder, "inside")
        run("msiextract", "-C", inside, os.path.join(folder, msi), check=True)
        shipped = {os.path.basename(p): os.path.join(d, p) for d, _, ps in os.walk(inside) for p in ps}
        for name, source in [("Quillet.dll", "Quillet.dll"), ("QuilletCommand.dll", "QuilletCommand.dll"),
                             ("QuilletPackage.ps1", "QuilletPackage.ps1"), ("Quillet.msix", msix)]:
            check(name in shipped and open(shipped[name], "rb").read() == open(os.path.join(folder, source), "rb").read(),
                  f"{signing[0]}: the MSI's {name} is not the signed one")
        sums = run("sha256sum", "-c", "SHA256SUMS", cwd=folder)
        check(sums.returncode == 0, f"SHA256SUMS: {sums.stdout}")

    if failures:
        print(f"{len(failures)} check(s) failed")
        return 1
    print("signatures, tampered copies, manifest, publisher and block map: all checks passed")
    return 0


if __name__ == "__main__":
    sys.exit(main())
