"""The package teska around its extension: the stub __init__.pyi describes exactly the API the
extension has (names, parameters, keyword-only marks, defaults), py.typed is there, and the
classes belong to teska.

Run by CTest with PYTHONPATH naming the built package."""

import ast
import os
import unittest

import teska

PACKAGE = os.path.dirname(teska.__file__)


def stub():
    with open(os.path.join(PACKAGE, "__init__.pyi")) as f:
        return ast.parse(f.read())


def public(names):
    return {name for name in names if not name.startswith("_")}


def top_level_names(body):
    names = set()
    for node in body:
        if isinstance(node, (ast.ClassDef, ast.FunctionDef)):
            names.add(node.name)
        elif isinstance(node, ast.AnnAssign):
            names.add(node.target.id)
        elif isinstance(node, ast.Assign):
            names.update(target.id for target in node.targets)
    return names


def lists(value):
    """Tuples as lists: pybind11 shows a std::array default as a list."""
    if isinstance(value, (list, tuple)):
        return [lists(v) for v in value]
    return value


NO_DEFAULT = object()


def split_top_level(text):
    """Splits pybind11's parameter list at the commas outside brackets and quotes."""
    parts, depth, quote, start = [], 0, None, 0
    for i, ch in enumerate(text):
        if quote:
            quote = None if ch == quote else quote
        elif ch in "'\"":
            quote = ch
        elif ch in "([{":
            depth += 1
        elif ch in ")]}":
            depth -= 1
        elif ch == "," and depth == 0:
            parts.append(text[start:i].strip())
            start = i + 1
    parts.append(text[start:].strip())
    return [part for part in parts if part]


def runtime_parameters(function):
    """(name, keyword-only, default) of each parameter but self, from the signature line that
    pybind11 puts first in the docstring; None for an overloaded function."""
    line = function.__doc__.splitlines()[0]
    parameters = line[line.index("(") + 1 : line.rindex(") -> ")]
    if parameters.startswith("*args"):
        return None
    result, keyword_only = [], False
    for part in split_top_level(parameters):
        if part == "*":
            keyword_only = True
            continue
        name = part.split(":", 1)[0].strip()
        _, equals, default = part.partition(" = ")
        if name != "self":
            result.append((name, keyword_only, lists(ast.literal_eval(default)) if equals else NO_DEFAULT))
    return result


def stub_parameters(node):
    args = node.args
    positional = args.posonlyargs + args.args
    defaults = [NO_DEFAULT] * (len(positional) - len(args.defaults)) + list(args.defaults)
    result = [
        (a.arg, False, d if d is NO_DEFAULT else lists(ast.literal_eval(d)))
        for a, d in zip(positional, defaults)
    ]
    result += [
        (a.arg, True, NO_DEFAULT if d is None else lists(ast.literal_eval(d)))
        for a, d in zip(args.kwonlyargs, args.kw_defaults)
    ]
    return [p for p in result if p[0] != "self"]


def is_property(node):
    return any(isinstance(d, ast.Name) and d.id == "property" for d in node.decorator_list)


class StubTest(unittest.TestCase):
    def test_stub_names_every_public_name_and_no_other(self):
        self.assertEqual(public(top_level_names(stub().body)), set(teska.__all__))
        self.assertIn("__version__", top_level_names(stub().body))

    def test_stub_classes_have_the_members_of_the_extension_classes(self):
        for node in stub().body:
            if not isinstance(node, ast.ClassDef) or node.name == "Error":
                continue
            with self.subTest(node.name):
                cls = getattr(teska, node.name)
                self.assertEqual(public(top_level_names(node.body)), public(vars(cls)))

    def test_stub_error_attributes_are_those_of_a_raised_error(self):
        (error,) = [n for n in stub().body if isinstance(n, ast.ClassDef) and n.name == "Error"]
        with self.assertRaises(teska.Error) as raised:
            teska.read(os.path.join(PACKAGE, "no such file.cif"))
        self.assertEqual(public(top_level_names(error.body)), public(vars(raised.exception)))

    def test_stub_parameters_and_defaults_match_the_extension(self):
        functions = [(teska, n) for n in stub().body if isinstance(n, ast.FunctionDef)]
        for cls in (n for n in stub().body if isinstance(n, ast.ClassDef)):
            functions += [
                (getattr(teska, cls.name), n)
                for n in cls.body
                if isinstance(n, ast.FunctionDef) and not n.name.startswith("_") and not is_property(n)
            ]
        self.assertTrue(functions)
        for owner, node in functions:
            with self.subTest(f"{owner.__name__}.{node.name}"):
                parameters = runtime_parameters(getattr(owner, node.name))
                if parameters is not None:
                    self.assertEqual(stub_parameters(node), parameters)

    def test_typed_marker_and_names_of_the_package(self):
        self.assertTrue(os.path.isfile(os.path.join(PACKAGE, "py.typed")))
        for name in teska.__all__:
            value = getattr(teska, name)
            if isinstance(value, type):
                self.assertEqual(value.__module__, "teska", name)


if __name__ == "__main__":
    unittest.main()
