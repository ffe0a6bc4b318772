"""The scripts that issue authorities and signers and sign with them, and what the build embeds of them."""

import os
import pathlib
import subprocess
import tempfile
import unittest

from project import ROOT

PATH = f"{ROOT}/scripts:{os.environ['PATH']}"
ORGANISATION = r"A/S + Größe, \"x\""


class Authorities(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.expect("", "issue_authorities ca", ORGANISATION)

    def expect(self, refusal, command, *arguments, path=PATH):
        """Runs a command, which succeeds or, if a refusal is given, fails and says so."""
        done = subprocess.run([*command.split(), *arguments], cwd=self.folder, capture_output=True, encoding="utf-8",
                              env={**os.environ, "PATH": path, "TMPDIR": str(self.folder)}, start_new_session=True)
        self.assertEqual((done.returncode == 0, refusal in done.stderr.replace("\n ", "")), (refusal == "", True), done)
        return done.stdout

    def test_names_of_any_characters_are_issued_and_nothing_is_overwritten(self):
        self.expect("ca/release.pem exists already", "issue_authorities ca")
        self.expect("", "issue_signer ca/release größe+1")
        self.expect("größe+1.pem exists already", "issue_signer ca/release größe+1")
        (self.folder / "link").symlink_to("größe+1.key")
        self.expect("link would overwrite größe+1.key", "sign_release ca/release.pem link größe+1")
        names = self.expect("", "openssl x509 -in größe+1.pem -noout -subject -issuer -nameopt utf8,sep_comma_plus")
        self.assertEqual(names, f"subject=CN=größe+1\nissuer=C=US,O={ORGANISATION},CN=Release\n")

    def test_an_interrupted_script_leaves_no_key(self):
        fake = self.folder / "openssl"
        fake.write_text('#!/bin/sh\ncase $1 in ca | x509) kill -TERM 0; esac\nPATH=${PATH#*:} openssl "$@"\n')
        fake.chmod(0o755)
        for command in "issue_authorities rival", "issue_signer ca/release signer":
            self.expect("failed", command, path=f"{self.folder}:{PATH}")
        self.assertEqual([key for key in self.folder.rglob("*/*key") if key.parent.name != "ca"], [])

    def test_only_a_complete_certificate_is_embedded(self):
        self.expect("", "openssl x509 -in ca/release.pem -outform DER -out whole.der")
        (self.folder / "cut.der").write_bytes((self.folder / "whole.der").read_bytes()[:700])
        for name, said in ("whole.der", ""), ("cut.der", "no complete"), ("ca/release.key", "no complete"):
            self.expect(said, f"cmake -DOPENSSL=openssl -DRELEASE={name} -DDEVELOPER=ca/developer.pem -DOUTPUT=out.cpp -P",
                        ROOT / "cmake/embed_authorities.cmake")
