"""What a built executable consists of: its bill of materials, in SPDX's form, and the notices of its parts.

The build tells which libraries it compiled (libraries.txt) and, in the linker's map, which files of the tool chain went
in. Which packages these files are from is known on Debian only."""
import collections
import gzip
import hashlib
import itertools
import json
import os
import pathlib
import re
import shutil
import subprocess
import urllib.parse
import uuid

from project import ROOT

DEPENDENCIES = ROOT / "cmake" / "dependencies"

# The licence and the maker of each part; notices/ has the licences' texts.
PARTS = {
    "fmt": ("MIT", "Person: Victor Zverovich"),
    "gcc": ("GPL-3.0-or-later WITH GCC-exception-3.1", "Organization: Free Software Foundation"),
    "mingw-w64": ("ZPL-2.1 AND LicenseRef-mingw-w64", "Organization: mingw-w64"),
    "minizip-ng": ("Zlib", "Organization: zlib-ng"),
    "nlohmann_json": ("MIT", "Person: Niels Lohmann"),
    "quill": ("MIT", "Person: Odysseas Georgoudis"),
    "winpthreads": ("MIT AND BSD-3-Clause", "Organization: mingw-w64"),
    "zlib": ("Zlib", "Person: Jean-loup Gailly"),
    "zlib-ng": ("Zlib", "Organization: zlib-ng"),
}
# Which part a file of the tool chain belongs to; the first pattern that fits.
LINKED_PARTS = {r"lib(win)?pthread\.a$": "winpthreads", r"libz\.a$": "zlib", r"/lib/gcc/": "gcc", "": "mingw-w64"}


def digest(algorithm, path):
    return hashlib.new(algorithm, path.read_bytes()).hexdigest()


def notice(name):
    return (ROOT / "scripts" / "notices" / f"{name}.txt").read_text(encoding="utf-8")


def read_cache(build):
    """Returns the settings of a configured build."""
    text = (build / "CMakeCache.txt").read_text(encoding="utf-8")
    return dict(re.findall(r"^([^/#\n][^:\n]*):[A-Z]+=(.*)$", text, re.MULTILINE))


def purl(kind, name, version):
    return {"referenceCategory": "PACKAGE-MANAGER", "referenceType": "purl",
            "referenceLocator": f"pkg:{kind}/{name}@{urllib.parse.quote(version, safe='')}"}


def part(name, version, supplier, **fields):
    """A package of the document. No supplier means that it may differ from whatever has been published."""
    licence, maker = PARTS[name]
    return {"SPDXID": f"SPDXRef-{name.replace('_', '-')}", "name": name, "versionInfo": version,
            "supplier": supplier or "NOASSERTION", "originator": maker, "downloadLocation": "NOASSERTION",
            "filesAnalyzed": False, "licenseConcluded": licence, "licenseDeclared": licence,
            "copyrightText": "NOASSERTION", **fields}


def debian_part(name, packages, **fields):
    """A part from Debian's packages, which are given with their versions."""
    if not packages:
        return part(name, "unknown", None, **fields)
    return part(name, packages[0][1], "Organization: Debian",
                externalRefs=[purl("deb/debian", *package) for package in packages], **fields)


def debian_version(package):
    """The version of an installed package."""
    return subprocess.run(["dpkg-query", "-W", "-f", "${Version}", package], check=True, capture_output=True,
                          encoding="utf-8").stdout


def debian_owners(files):
    """The installed packages that the files belong to, with their versions; none where there is no dpkg."""
    if not shutil.which("dpkg-query"):
        return []
    lines = subprocess.run(["dpkg-query", "-S", *files], check=False, capture_output=True, encoding="utf-8").stdout
    return [(package, debian_version(package)) for package in sorted(set(re.findall(r"^([^:]+):", lines, re.MULTILINE)))]


def is_checkout(folder, commit):
    """Tells whether a folder is an unmodified checkout of a commit."""
    def git(*arguments):
        return subprocess.run(["git", "-C", folder, *arguments], capture_output=True, encoding="utf-8",
                              check=False).stdout.strip()
    return (folder / ".git").exists() and git("rev-parse", "HEAD") == commit and git("status", "--porcelain") == ""


def upstream_library(name, version, folder):
    """A library of the provider "upstream". Only a tree at the pinned commit is called the published one."""
    pins = (DEPENDENCIES / "upstream.cmake").read_text(encoding="utf-8")
    repository, commit = re.search(rf"\({name} GIT_REPOSITORY (\S+)\.git\s+GIT_TAG ([0-9a-f]{{40}})", pins,
                                   re.IGNORECASE).groups()
    name = "zlib-ng" if name == "zlib" else name
    if not is_checkout(folder, commit):
        return part(name, version, None, comment="Built from a local tree that is not known to be a published one.")
    return part(name, version, PARTS[name][1], downloadLocation=f"git+{repository}.git@{commit}",
                externalRefs=[purl("github", "/".join(repository.split("/")[-2:]), commit)])


def registry_library(name, version, folder):
    """A library of the provider "registry"."""
    if name == "minizip-ng":
        package = re.search(r"^package=(\S+)@(\S+)$", (DEPENDENCIES / "fetch_minizip.sh").read_text(), re.MULTILINE)
        return part(name, version, PARTS[name][1], externalRefs=[purl("npm", *package.groups())],
                    comment="Taken from the npm package, which carries it.")
    if name == "quill":
        with gzip.open(folder / "share" / "doc" / "quill-dev" / "changelog.Debian.gz", "rt", encoding="utf-8") as log:
            return debian_part(name, [("quill-dev", re.search(r"\((.+?)\)", log.readline())[1])])
    package = {"fmt": "libfmt-dev", "nlohmann_json": "nlohmann-json3-dev"}[name]
    return debian_part(name, [(package, debian_version(package))])


def compiled_parts(build):
    """The libraries whose sources the build compiled, and the one that they carry inside themselves."""
    describe = {"upstream": upstream_library, "registry": registry_library}[read_cache(build)["CORVEL_DEPENDENCIES"]]
    for line in (build / "libraries.txt").read_text(encoding="utf-8").splitlines():
        name, version, folder = line.split("|")
        package = describe(name, version, pathlib.Path(folder))
        yield package
        if name == "quill":
            header = pathlib.Path(folder, "include", "quill", "bundled", "fmt", "base.h").read_text(encoding="utf-8")
            major, minor, patch = re.search(r"define FMTQUILL_VERSION (\d+)(\d\d)(\d\d)", header).groups()
            yield {**part("fmt", f"{major}.{int(minor)}.{int(patch)}", package["supplier"],
                          comment="The copy that quill carries, in a namespace of its own."),
                   "SPDXID": "SPDXRef-quill-fmt"}


def linked_files(linker_map):
    """The start-up objects of the tool chain, and its archives of which the linker took something."""
    text = linker_map.read_text(encoding="utf-8", errors="replace")
    found = re.findall(r"^(?:LOAD (/\S+\.o)$|(/\S+\.a)\()", text, re.MULTILINE)
    return {pathlib.Path(os.path.normpath(start_up or archive)) for start_up, archive in found}


def linked_parts(linker_map):
    """What is linked from the tool chain: each part with its files."""
    files_of = collections.defaultdict(list)
    for path in sorted(linked_files(linker_map)):
        files_of[next(name for pattern, name in LINKED_PARTS.items() if re.search(pattern, str(path)))].append(path)
    for name, paths in sorted(files_of.items()):
        hashes = "".join(sorted(digest("sha1", path) for path in paths))
        yield {**debian_part(name, debian_owners(paths), packageVerificationCode={
            "packageVerificationCodeValue": hashlib.sha1(hashes.encode()).hexdigest()}), "filesAnalyzed": True}, paths


def describe_file(identifier, path):
    return {"SPDXID": identifier, "fileName": f".{path}", "licenseConcluded": "NOASSERTION",
            "copyrightText": "NOASSERTION",
            "checksums": [{"algorithm": algorithm.upper(), "checksumValue": digest(algorithm, path)}
                          for algorithm in ("sha1", "sha256")]}


def bill_of_materials(build, executable, release):
    """Returns the SPDX document of an executable that a build made; `release` is what release.json says of it."""
    authorities = ", ".join(f"{name} {fingerprint}" for name, fingerprint in release["authorities"].items())
    tool = {"SPDXID": "SPDXRef-corvelctl", "name": "corvelctl", "versionInfo": release["version"],
            "supplier": "Organization: Corvel", "downloadLocation": "NOASSERTION", "filesAnalyzed": False,
            "licenseConcluded": "NOASSERTION", "licenseDeclared": "NONE", "copyrightText": "NOASSERTION",
            "primaryPackagePurpose": "APPLICATION", "packageFileName": "corvelctl.exe",
            "checksums": [{"algorithm": "SHA256", "checksumValue": digest("sha256", executable)}],
            "sourceInfo": f"Built from commit {release['commit']}.", "releaseDate": release["date"],
            "comment": f"SHA-256 of the certificates of the built-in authorities: {authorities}."}
    relationships = [("SPDXRef-DOCUMENT", "DESCRIBES", tool["SPDXID"]),
                     ("SPDXRef-quill", "CONTAINS", "SPDXRef-quill-fmt")]
    parts, files = list(compiled_parts(build)), []
    for package, paths in linked_parts(build / "corvelctl.exe.map"):
        parts.append(package)
        for path in paths:
            files.append(describe_file(f"SPDXRef-File-{len(files) + 1}", path))
            relationships.append((package["SPDXID"], "CONTAINS", files[-1]["SPDXID"]))
    relationships += [(tool["SPDXID"], "STATIC_LINK", package["SPDXID"]) for package in parts]
    document = {"spdxVersion": "SPDX-2.3", "dataLicense": "CC0-1.0", "SPDXID": "SPDXRef-DOCUMENT",
                "name": f"corvelctl-{release['version']}",
                "creationInfo": {"created": release["date"], "creators": ["Tool: corvelctl-package"]},
                "packages": [tool, *parts], "files": files,
                "relationships": [{"spdxElementId": one, "relationshipType": kind, "relatedSpdxElement": other}
                                  for one, kind, other in relationships],
                "hasExtractedLicensingInfos": [{"licenseId": "LicenseRef-mingw-w64", "name": "mingw-w64 run-time",
                                                "extractedText": notice("mingw-w64")}]}
    # Two different documents must not have one name.
    contents = hashlib.sha256(json.dumps(document).encode()).hexdigest()
    return {**document, "documentNamespace": f"urn:uuid:{uuid.uuid5(uuid.NAMESPACE_OID, contents)}"}


def notices(document):
    """Returns the licences of what a bill of materials lists, as text."""
    text = "corvelctl contains the following software.\n"
    parts = sorted(document["packages"][1:], key=lambda package: package["name"])
    for name, packages in itertools.groupby(parts, key=lambda package: package["name"]):
        headings = "".join(f"{name} {package['versionInfo']}\n" for package in packages)
        text += f"\n{'=' * 100}\n{headings}{'=' * 100}\n\n{notice(name)}"
    return text
