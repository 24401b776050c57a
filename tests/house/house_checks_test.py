#!/usr/bin/env python3
"""Plants mistakes in a small tree of its own and expects the house checks to find each of them, and nothing else."""

import os
import shutil
import subprocess
import sys
import tempfile
import unittest

SCRIPTS = os.path.join(sys.argv.pop(1), "scripts")


class HouseChecks(unittest.TestCase):

    def setUp(self):
        self.root = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, self.root)
        shutil.copytree(SCRIPTS, os.path.join(self.root, "scripts"))
        self.git("init", "-q")

    def git(self, *arguments):
        subprocess.run(["git", "-c", "user.name=n", "-c", "user.email=e@example.org", *arguments], cwd=self.root,
                       check=True, capture_output=True)

    def write(self, name, text):
        path = os.path.join(self.root, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)

    def findings(self, script):
        """The lines that the script prints; none exactly when it succeeds."""
        made = subprocess.run([os.path.join(self.root, "scripts", script)], capture_output=True, text=True,
                              env={**os.environ, "XDG_CACHE_HOME": os.path.join(self.root, "cache")})
        self.assertEqual(made.stderr, "")
        self.assertEqual(made.returncode != 0, made.stdout != "", made.stdout)
        return made.stdout.splitlines()

    def test_tidy_finds_mistakes_in_sources_and_headers_of_ours(self):
        shutil.copy(os.path.join(SCRIPTS, "..", ".clang-tidy"), self.root)
        self.write("CMakeLists.txt", "cmake_minimum_required(VERSION 3.25)\nproject(tree LANGUAGES CXX)\n"
                                     "set(CMAKE_EXPORT_COMPILE_COMMANDS ON)\nset(CMAKE_CXX_STANDARD 20)\n"
                                     "add_library(tree src/a.cpp src/b.cpp)\ntarget_include_directories(tree PRIVATE src)\n")
        self.write("src/a.h", "#pragma once\n#include <utility>\n"
                              "template <class T> auto Twice(T a) { T b = std::move(a); return b.size() + a.size(); }\n")
        self.write("src/a.cpp", "#include \"a.h\"\n#include <string>\n#include <vector>\nusing std::vector;\n"
                                "bool Run(const std::string& a) { return a.size() == 0 && Twice(a) == 0; }\n")
        self.write("src/b.cpp", "int Run(int a) { return a; }\n")
        findings = [line.split("[")[-1] for line in self.findings("check-tidy") if ": error: " in line]
        self.assertEqual(sorted(findings), [f"{name},-warnings-as-errors]" for name in (
            "bugprone-use-after-move", "misc-unused-using-decls", "readability-container-size-empty")])

    def test_includes_leaves_the_allowed_directions_alone(self):
        self.write("src/c_stock_market.h", '#include "quotes/index_market.h"\n')
        self.write("src/host/host.h", '#include <boost/function.hpp>\n#include "frame/observer.h"\n')
        self.write("src/frame/observer.h", "#include <vector>\n")
        self.write("src/services.h", "class IIndexMarket;\n")
        self.write("src/quotes/index_market.h", '#include "frame/observer.h"\n#include "host/host.h"\n')
        self.write("src/quotes/index_market.cpp", '#include <QJsonObject>\n#include <boost/thread.hpp>\n#include "services.h"\n')
        self.write("host_services/stock_host.h", '#include "host/host.h"\n')
        self.write("host_services/http.cpp", '#include <unistd.h>\n#include "frame/observer.h"\n')
        self.write("market_server/market_server.h", "#include <string>\n")
        self.write("market_server/model/market.cpp", '#include <sys/socket.h>\n#include "market_server/market_server.h"\n')
        self.write("cli/main.cpp", '#include "c_stock_market.h"\n#include "host_services/stock_host.h"\n'
                                   '#include "market_server/market_server.h"\n')
        self.write("tests/a.cpp", '#include "quotes/index_market.h"\n#include "market_server/market_server.h"\n')
        self.assertEqual(self.findings("check-includes"), [])

    def test_includes_finds_constants_that_their_source_does_not_use(self):
        self.write("tests/a.cpp", "namespace {\nconstexpr int kOne = 1;\nconst std::string kTwo(\"2\");\nconstexpr int kThree[] = {3};\n"
                                  "constexpr auto kFour = kOne;\n}\nint Five() { return kFour; }\n")
        self.assertEqual(self.findings("check-includes"), ["tests/a.cpp: kTwo is not used", "tests/a.cpp: kThree is not used"])

    def test_includes_finds_each_wrong_direction(self):
        for name in ["src/c_stock_market.h", "src/frame/observer.h", "src/quotes/b.h", "src/reference/c.h",
                     "host_services/inside.h", "market_server/model/market.h", "market_server/market_server.h"]:
            self.write(name, "")
        self.write("src/c_stock_market.h", '#include "frame/observer.h"\n')
        for name, target in [("src/frame/a.cpp", "<unistd.h>"), ("src/frame/a.cpp", "<sys/stat.h>"),
                             ("src/frame/a.cpp", "<windows.h>"), ("src/frame/a.cpp", "<pthread.h>"),
                             ("src/frame/a.cpp", "<curl/curl.h>"), ("src/frame/a.cpp", '"quotes/b.h"'),
                             ("src/reference/a.cpp", '"quotes/b.h"'), ("src/request/a.cpp", '"reference/c.h"'),
                             ("src/host/a.h", '"quotes/b.h"'), ("src/frame/observer.h", "<QString>"),
                             ("src/quotes/a.cpp", '"host_services/inside.h"'),
                             ("src/quotes/a.cpp", '"market_server/market_server.h"'),
                             ("host_services/a.cpp", '"quotes/b.h"'),
                             ("host_services/a.cpp", '"market_server/market_server.h"'),
                             ("market_server/a.cpp", '"frame/observer.h"'), ("market_server/a.cpp", "<quotes/b.h>"),
                             ("market_server/a.cpp", '"host_services/inside.h"'),
                             ("cli/a.cpp", '"host_services/inside.h"'), ("cli/a.cpp", '"quotes/b.h"'),
                             ("cli/a.cpp", '"market_server/model/market.h"')]:
            with self.subTest(f"{name} {target}"):
                self.write(name, f"#include {target}\n")
                self.assertEqual(len(self.findings("check-includes")), 1)
                self.write(name, "")

    def test_format_finds_an_unformatted_file(self):
        shutil.copy(os.path.join(SCRIPTS, "..", ".clang-format"), self.root)
        self.write("src/a.cpp", "int a;\n")
        subprocess.run([os.path.join(self.root, "scripts/check-format")], check=True)
        self.write("src/b.cpp", "int   a;\n")
        made = subprocess.run([os.path.join(self.root, "scripts/check-format")], capture_output=True)
        self.assertNotEqual(made.returncode, 0)

    def plant_documentation(self):
        """A tree whose documentation is right."""
        for name, text in [("check", "#!/bin/sh\necho docs\n"), ("build/release/bin/csm", "#!/bin/sh\nexit 0\n")]:
            self.write(name, text)
            os.chmod(os.path.join(self.root, name), 0o755)
        self.write(".gitignore", "/build/\n")
        self.write("CMakePresets.json", '{"configurePresets": [{"name": "release"}]}\n')
        self.write("src/c_stock_market.map", "{ global: DestroyStockMarket; GetOne; GetOther; local: *; };\n")
        self.write("examples/services/all.cpp", "bool ShowOne() {\n  GetOne();\n}\n\nbool ShowOther() {\n  GetOther();\n}\n")
        for page in ["CHANGELOG.md", "CONTRIBUTING.md", "docs/design.md"]:
            self.write(page, "# Title\n\nText.\n")
        self.write("README.md", "# Title\n\n[uses](docs/use.md)\n\n```cpp\nGetOne();\n```\n")
        self.write_use("bool ShowOne() {\n  GetOne();\n}\n```\n\n```cpp\nbool ShowOther() {\n  GetOther();\n}")

    def write_use(self, code, rest=""):
        self.write("docs/use.md", f"# Title\n\n```cpp\n{code}\n```\n{rest}")

    def doc_findings(self):
        made = subprocess.run([os.path.join(self.root, "scripts/check-docs")], capture_output=True, text=True)
        self.assertEqual(made.stderr, "")
        lines = made.stdout.splitlines()
        self.assertRegex(lines[-1], rf"^\d+ pages, \d+ commands, {len(lines) - 1} problems$")
        self.assertEqual(made.returncode != 0, len(lines) > 1)
        return lines[:-1]

    def test_docs_leaves_a_right_page_alone(self):
        self.plant_documentation()
        self.assertEqual(self.doc_findings(), [])

    def test_docs_finds_what_no_example_says(self):
        self.plant_documentation()
        both = "GetOne();\n```\n\n```cpp\nGetOther();\n```\n\n```cpp\n"
        for code in ["GetOne(1);", "GetOne()", "etOne();", "GetOne();\n}\n\nbool ShowNone() {"]:
            with self.subTest(code):
                self.write_use(both + code)
                self.assertEqual(len([line for line in self.doc_findings() if "stands in no program" in line]), 1)

    def test_docs_finds_a_service_without_an_example(self):
        self.plant_documentation()
        self.write_use("GetOne();")
        self.assertEqual(self.doc_findings(), ["docs/use.md:1: GetOther is not named"])
        self.write_use("GetOne();", "\nAnd `GetOther()`.\n")
        self.write("examples/services/all.cpp", "bool ShowOne() {\n  GetOne();\n}\n")
        self.assertEqual(self.doc_findings(), ["docs/use.md:1: no example calls GetOther"])

    def test_docs_finds_a_readme_without_an_example(self):
        self.plant_documentation()
        self.write("README.md", "# Title\n\nText.\n")
        self.assertEqual(self.doc_findings(), ["README.md quotes no example"])

    def test_docs_finds_each_other_mistake(self):
        self.plant_documentation()
        for text in ["[x](gone.md)", "## Empty\n\n## Full\n\ntext", "```sh\nno-such-program-at-all\n```",
                     "```sh\nscripts/gone\n```", "```sh\n./check gone\n```", "```sh\ncmake --preset gone\n```"]:
            with self.subTest(text):
                self.write("docs/design.md", f"# Title\n\n{text}\n")
                findings = self.doc_findings()
                self.assertEqual(len(findings), 1, findings)
                self.assertTrue(findings[0].startswith("docs/design.md:"), findings)

    def test_docs_finds_a_command_that_fails(self):
        self.plant_documentation()
        self.write("build/release/bin/csm", "#!/bin/sh\nexit 3\n")
        self.write("docs/design.md", "# Title\n\n```sh\ncsm index\n```\n")
        self.assertEqual(self.doc_findings(), ["docs/design.md:4: csm index ended with 3: "])


unittest.main()
