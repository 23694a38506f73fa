"""Evaluates expressions, independently of the library: for the tests.

Reads one expression a line and writes "VALUE UNITS-EXPONENT LARGEST" in base units (the exponent of the metre; the
largest number met on the way), or "error". Knows the units m, cm and degree. Python's own parser reads the text.
"""
import ast
import math
import operator
import re
import sys

SCALES = {"m": (1.0, 1), "cm": (0.01, 1), "degree": (math.pi / 180, 0)}
BINARY = {ast.Add: operator.add, ast.Sub: operator.sub, ast.Mult: operator.mul, ast.Div: operator.truediv,
          ast.Pow: operator.pow}
COMPARE = {ast.Lt: operator.lt, ast.LtE: operator.le, ast.Gt: operator.gt, ast.GtE: operator.ge,
           ast.Eq: operator.eq, ast.NotEq: operator.ne}
PLAIN = {"sin": math.sin, "cos": math.cos, "tan": math.tan, "asin": math.asin, "acos": math.acos,
         "atan": math.atan, "sinh": math.sinh, "cosh": math.cosh, "tanh": math.tanh, "exp": math.exp,
         "log": math.log, "log10": math.log10, "int": math.trunc, "abs": abs, "sqrt": math.sqrt}


class Evaluator:
    def __init__(self):
        self.largest = 0.0

    def note(self, number, exponent):
        if isinstance(number, complex) or not math.isfinite(number):
            raise ValueError("undefined")
        self.largest = max(self.largest, abs(number))
        return float(number), exponent

    def binary(self, node):
        (left, a), (right, b) = self.visit(node.left), self.visit(node.right)
        number = BINARY[type(node.op)](left, right)
        if isinstance(node.op, ast.Mult):
            return self.note(number, a + b)
        if isinstance(node.op, ast.Div):
            return self.note(number, a - b)
        return self.note(number, a * right if isinstance(node.op, ast.Pow) else a)

    def call(self, node):
        name = node.func.id
        if name == "if_":
            return self.visit(node.args[1 if self.visit(node.args[0])[0] != 0 else 2])
        if name == "unit":
            scale, exponent = SCALES[node.args[1].value]
            return self.note(self.visit(node.args[0])[0] * scale, exponent)
        arguments = [self.visit(argument) for argument in node.args]
        numbers, exponent = [number for number, _ in arguments], arguments[0][1]
        if name in ("min", "max"):
            return self.note((min if name == "min" else max)(numbers), exponent)
        if name == "mod":
            return self.note(math.fmod(*numbers), exponent)
        if name == "atan2":
            return self.note(math.atan2(*numbers), 0)
        kept = {"abs": exponent, "sqrt": exponent / 2}.get(name, 0)
        return self.note(PLAIN[name](numbers[0]), kept)

    def visit(self, node):
        if isinstance(node, ast.Constant):
            return self.note(node.value, 0)
        if isinstance(node, ast.Name):
            return self.note({"pi": math.pi, "e": math.e}[node.id], 0)
        if isinstance(node, ast.UnaryOp):
            number, exponent = self.visit(node.operand)
            return (-number if isinstance(node.op, ast.USub) else number), exponent
        if isinstance(node, ast.Compare):
            left, right = self.visit(node.left)[0], self.visit(node.comparators[0])[0]
            return float(COMPARE[type(node.ops[0])](left, right)), 0
        return self.binary(node) if isinstance(node, ast.BinOp) else self.call(node)


def evaluate(text):
    text = re.sub(r"([0-9.]+) \[(\w+)\]", r"unit(\1, '\2')", text.replace("^", "**").replace("if(", "if_("))
    evaluator = Evaluator()
    try:
        number, exponent = evaluator.visit(ast.parse(text, mode="eval").body)
    except (ValueError, ZeroDivisionError, OverflowError):
        return "error"
    return f"{number!r} {exponent!r} {evaluator.largest!r}"


if __name__ == "__main__":
    sys.setrecursionlimit(100000)
    for line in sys.stdin:
        print(evaluate(line.strip()))
