#!/usr/bin/python3
"""The benchmarks with tiny counts: each runs and prints its rows. What they measure is not looked at."""
import re
import subprocess
import sys
import unittest

from node import BUILD, PATIENCE_S

ROWS = {
    "read": ["read a header of 2 KB", "read a header of 18 KB"],
    "load": ["load 10,000 policies", "memory of a policy to its document", "load 100,000 policies to 10,000"],
    "select": ["pass by index, tenfold", "select all, tenfold", "select by id, tenfold", "select by name, tenfold",
               "select by type, tenfold", "select by name and type, tenfold", "select by category, tenfold",
               "select by owner, tenfold", "select by owner and name, tenfold", "select by attribute's name, tenfold",
               "select by attribute, tenfold", "change by ids, tenfold", "list by ids, tenfold"],
    "entries": ["read of categories, tenfold", "read of attributes, tenfold", "install of categories, tenfold",
                "install of attributes, tenfold", "update of categories, tenfold", "update of attributes, tenfold",
                "categories by options, tenfold", "attributes by options, tenfold", "disable with categories, tenfold",
                "disable with attributes, tenfold", "disable by attribute's name, tenfold",
                "addcategory of words, tenfold", "removecategory of words, tenfold",
                "removecategory of others, tenfold", "list of categories, tenfold", "list of attributes, tenfold",
                "load of ids, tenfold", "package of types, tenfold",
                "package of limited types, tenfold", "remove of types, tenfold", "notification of types, tenfold"],
    "settings": ["merge of 1,000 settings policies", "merge of 1,000 that disagree",
                 "merge of 10,000 settings policies", "merge, tenfold", "rebuild, tenfold",
                 "install of all at once, tenfold", "merge that changes nothing", "install of one to a rebuild",
                 "disable of one to a rebuild", "install of one to a rebuild, signed",
                 "disable of one to a rebuild, signed"],
    "proof": ["proof of 10 KB, P-256", "proof of 10 KB, RSA 2048", "proof of 10 KB, RSA 4096", "proof of 10 KB, Ed25519",
              "proof of 1 MB, P-256", "proof of 1 MB, Ed25519", "verify 1,000 installed policies"],
    "cluster": ["50 groups on 8 systems", "lumclusterinfo -cluster -name",
                "the same to its tools alone", "100 groups of VERITAS", "100 groups of Sun", "100 groups of Palisade",
                "100 groups of AIX", "100 groups of Kestrel", "100 groups of Red Hat",
                "100 groups of Pacemaker"],
    "monitor": ["cycle of 500 groups on 8 systems", "daemon between cycles to 0.1 %"],
    "tls": ["handshake with both certificates", "call on a kept TLS connection", "call that proves the secret"],
    "told": ["set of a value", "install until a process is told", "the same beside 1,000 policies",
             "the same beside 1,000, cached"],
    "crowd": ["policyOp beside 1,050 connections"],
    "strangers": ["policyOp beside refused calls", "policyOp beside malformed calls", "policyOp beside large bodies",
                  "policyOp beside long questions", "policyOp beside new connections"],
    "install": ["install of a policy of 10 KB", "install of 1,000 small data files"],
    "list": ["list of 10,000 policies"],
    "change": ["enable of 1,000 policies", "enable, tenfold", "list, tenfold", "dry run, tenfold"],
}
ROW = re.compile(r"^(.+?) +\d+\.\d\d +\d+\.\d\d +\d+\.\d\d +(?:(?:\d+\.\d\d  (?:met|MISSED))|(?:-  -)) ")


def run(*arguments):
    return subprocess.run([BUILD / "bench/lumbench", *arguments], text=True, capture_output=True,
                          stdin=subprocess.DEVNULL, timeout=10 * PATIENCE_S)


def rows(result):
    return [match.group(1) for match in map(ROW.match, result.stdout.splitlines()) if match]


class Benchmarks(unittest.TestCase):
    def test_all_of_them_run_and_print_their_rows_in_order(self):
        result = run("--quick")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(rows(result), [row for names in ROWS.values() for row in names], result.stdout)

    def test_a_name_chooses_one(self):
        result = run("--quick", "read")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(rows(result), ROWS["read"], result.stdout)

    def test_an_unknown_name_is_refused_before_anything_runs(self):
        result = run("--quick", "read", "reed")
        self.assertEqual((result.returncode, result.stdout), (2, ""))
        self.assertIn("usage: lumbench", result.stderr)


if __name__ == "__main__":
    sys.exit(unittest.main())
