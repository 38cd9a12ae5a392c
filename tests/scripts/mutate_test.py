"""Tests of scripts/mutate: where mutants come from, how they are sampled, how they are judged."""
import importlib.machinery
import importlib.util
import os
import shutil
import io
import subprocess
import sys
import tempfile
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
SCRIPT = os.path.join(HERE, "..", "..", "scripts", "mutate")
loader = importlib.machinery.SourceFileLoader("mutate", SCRIPT)
module_description = importlib.util.spec_from_loader("mutate", loader)
mutate = importlib.util.module_from_spec(module_description)
loader.exec_module(mutate)


def mutated_texts(text, path="x.cpp"):
    return [m.before for m in mutate.find_mutants(path, text)]


class WhereMutantsComeFrom(unittest.TestCase):
    def test_nothing_in_comments_strings_or_preprocessor_lines(self):
        quiet = (
            '// if (a == b) return 1; f(); x < y\n'
            '/* a != b && c || !d 42\n   true */\n'
            '#define LIMIT (1 == 2 && !x)\n'
            '#if FOO > 3 \\\n   && BAR < 4\n#endif\n'
            'const wchar_t* s = L"a == b && !c 7 true S_OK";\n'
            'const char* r = R"x(a == b || f(); 9)x";\n'
            "char c = '!'; wchar_t d = L'1';\n"
        )
        found = [(m.line, m.before) for m in mutate.find_mutants("x.cpp", quiet)]
        # Only the declarations' own code is left: nothing there is a mutable operator.
        self.assertEqual(found, [])

    def test_each_operator_kind(self):
        cases = [
            ("int f(int a) { return a < 2; }", {("relational", "<", "<="), ("literal", "2", "3"),
                                                 ("return", "a < 2", "{}")}),
            ("bool f(int a) { return a == 0x1f; }", {("equality", "==", "!="), ("literal", "0x1f", "0x20"),
                                                      ("return", "a == 0x1f", "{}")}),
            ("void f(bool a, bool b) {\n    g(a && !b);\n}", {("logical", "&&", "||"), ("not", "!", ""),
                                                         ("call", "g(a && !b);", ";")}),
            ("HRESULT f() { return S_OK; }", {("constant", "S_OK", "E_FAIL")}),
            ("BOOL f() { x = TRUE; return true; }", {("constant", "TRUE", "FALSE"),
                                                     ("constant", "true", "false"), ("return", "true", "{}")}),
        ]
        for text, expected in cases:
            with self.subTest(text=text):
                found = {(m.operator, m.before, m.after) for m in mutate.find_mutants("x.cpp", text)}
                self.assertEqual(found, expected)

    def test_template_brackets_shifts_and_declarations_are_left_alone(self):
        text = ("std::vector<int> v; auto&& r = v; int s = a << 2 >> 1; p->x;\n"
                "if (ok) { return; }\nFoo bar(1);\n")
        kinds = sorted((m.operator, m.before) for m in mutate.find_mutants("x.cpp", text))
        self.assertEqual(kinds, [("literal", "1"), ("literal", "1"), ("literal", "2")])

    def test_a_mutant_changes_exactly_its_own_text(self):
        text = "int f(int a) {\n    return a >= 10;\n}\n"
        relational = [m for m in mutate.find_mutants("x.cpp", text) if m.operator == "relational"][0]
        self.assertEqual((relational.line, relational.column), (2, 14))
        self.assertEqual(relational.apply(text), "int f(int a) {\n    return a > 10;\n}\n")


class Sampling(unittest.TestCase):
    def setUp(self):
        self.mutants = []
        for folder, count in (("src/a", 40), ("src/b", 15), ("src/c", 3)):
            for i in range(count):
                self.mutants.append(mutate.Mutant(f"{folder}/f.cpp", i + 1, 1, "literal", "1", "2", i))

    def test_same_seed_same_sample_and_another_seed_another(self):
        first = mutate.sample(self.mutants, 20, 3)
        self.assertEqual(first, mutate.sample(list(reversed(self.mutants)), 20, 3))
        self.assertNotEqual(first, mutate.sample(self.mutants, 20, 4))

    def test_sample_has_its_size_and_reaches_every_folder(self):
        for count in (4, 20, 57):
            with self.subTest(count=count):
                chosen = mutate.sample(self.mutants, count, 7)
                self.assertEqual(len(chosen), count)
                self.assertEqual(len(set(chosen)), count)
                self.assertEqual({mutate.folder_of(m) for m in chosen}, {"src/a", "src/b", "src/c"})


PLANTED = """
int tested(int a) {
    if (a == 1) { return 10; }
    return 20;
}
int untested(int a) {
    if (a == 2) { return 30; }
    return 40;
}
int optimised_away(int a) {
    const bool unused = a == 3;
    return a;
}
"""
PLANTED_TEST = """
int tested(int a);
int main() { return tested(1) == 10 && tested(5) == 20 ? 0 : 1; }
"""


class Judging(unittest.TestCase):
    def test_killed_survived_and_equivalent_by_object_code(self):
        compiler = shutil.which("c++") or shutil.which("g++")
        self.assertIsNotNone(compiler, "a native C++ compiler is needed")
        with tempfile.TemporaryDirectory() as root:
            original = os.path.join(root, "src", "planted", "planted.cpp")
            os.makedirs(os.path.dirname(original))
            with open(original, "w") as handle:
                handle.write(PLANTED)
            with open(os.path.join(root, "test.cpp"), "w") as handle:
                handle.write(PLANTED_TEST)
            scratch = os.path.join(root, "scratch")
            shutil.copytree(os.path.join(root, "src"), os.path.join(scratch, "src"))
            program = os.path.join(root, "planted_test")

            built, compiled = [], []

            def build(path):
                built.append(path)
                return subprocess.run([compiler, "-o", program, os.path.join(scratch, path),
                                       os.path.join(root, "test.cpp")]).returncode == 0

            def compile(path):
                compiled.append(path)
                done = subprocess.run([compiler, "-O2", "-c", "-o", program + ".o", os.path.join(scratch, path)])
                with open(program + ".o", "rb") as handle:
                    return handle.read() if done.returncode == 0 else None

            def test(path, time_limit):
                return subprocess.run([program], timeout=time_limit).returncode == 0

            mutants = mutate.all_mutants(root, [os.path.join(root, "src")], ("equality",))
            results = mutate.Runner(scratch, build, test, compile=compile).run(mutants)
            outcomes = sorted((m.line, outcome) for m, outcome in results)
            self.assertEqual(outcomes, [(3, "killed"), (7, "survived"), (11, "equivalent")])
            # The unmutated file is compiled once; an equivalent mutant is never built or tested.
            self.assertEqual(len(compiled), 1 + len(mutants))
            self.assertEqual(len(built), 1 + 2)
            # The tree that was mutated is the scratch copy, and it is left as it was.
            for tree in (root, scratch):
                with open(os.path.join(tree, "src", "planted", "planted.cpp")) as handle:
                    self.assertEqual(handle.read(), PLANTED)


class Reporting(unittest.TestCase):
    def test_equivalent_and_not_built_are_left_out_of_the_score_on_the_last_line(self):
        outcomes = ["killed", "killed", "killed", "survived", "equivalent", "equivalent", "not built"]
        results = [(mutate.Mutant("src/a/f.cpp", line, 1, "literal", "1", "2", 0), outcome)
                   for line, outcome in enumerate(outcomes)]
        out = io.StringIO()
        mutate.report(results, out)
        lines = out.getvalue().splitlines()
        self.assertEqual(lines[-1], "mutants: 3 killed, 1 survived, 2 equivalent, 1 not built (score 75.0%)")
        self.assertIn("  src/a/f.cpp:4:1 literal: 1 -> 2", lines[lines.index("equivalent:"):])


if __name__ == "__main__":
    unittest.main()
