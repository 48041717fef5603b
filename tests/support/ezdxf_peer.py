#!/usr/bin/env python3
"""Answers geometry questions with ezdxf, a DXF library nobody here wrote.

Reads one question a line on standard input and prints one answer a line,
every number in repr() form (it reads back to the same double):

  ocs NX NY NZ        the OCS axes of that extrusion: ux, uy, uz (9 numbers)
  mul A(16) B(16)     the product A x B, row-vector convention (16 numbers)
  inv A(16)           the inverse of A (16 numbers)
  map STEP...         the matrix of a chain of steps, each acting after the
                      ones before it (16 numbers); a step is one of
                        S sx sy sz cx cy cz   scaling about (cx, cy, cz)
                        XY deg cx cy          rotation about Z through (cx, cy)
                        YZ deg cy cz          rotation about X through (cy, cz)
                        ZX deg cx cz          rotation about Y through (cx, cz)
                        T dx dy dz            translation

Matrices are 16 numbers row by row. Exits with status 2 when ezdxf cannot
be imported: a missing peer is a failure, not a pass.
"""
import math
import sys

try:
    from ezdxf.math import OCS, Matrix44
except ImportError as error:
    sys.stderr.write(f"ezdxf_peer: ezdxf is not installed ({error})\n")
    sys.exit(2)


def about(centre, matrix):
    """The matrix applied about centre instead of the origin."""
    cx, cy, cz = centre
    return Matrix44.chain(Matrix44.translate(-cx, -cy, -cz), matrix,
                          Matrix44.translate(cx, cy, cz))


def chain(tokens):
    steps = []
    i = 0
    while i < len(tokens):
        kind = tokens[i]
        if kind == "S":
            sx, sy, sz, cx, cy, cz = map(float, tokens[i + 1:i + 7])
            steps.append(about((cx, cy, cz), Matrix44.scale(sx, sy, sz)))
            i += 7
        elif kind in ("XY", "YZ", "ZX"):
            angle, u, v = map(float, tokens[i + 1:i + 4])
            rad = math.radians(angle)
            if kind == "XY":
                steps.append(about((u, v, 0.0), Matrix44.z_rotate(rad)))
            elif kind == "YZ":
                steps.append(about((0.0, u, v), Matrix44.x_rotate(rad)))
            else:
                steps.append(about((u, 0.0, v), Matrix44.y_rotate(rad)))
            i += 4
        elif kind == "T":
            dx, dy, dz = map(float, tokens[i + 1:i + 4])
            steps.append(Matrix44.translate(dx, dy, dz))
            i += 4
        else:
            raise ValueError(f"unknown step {kind}")
    return Matrix44.chain(*steps)


def answer(line):
    tokens = line.split()
    op, args = tokens[0], tokens[1:]
    if op == "ocs":
        ocs = OCS(tuple(map(float, args)))
        return [c for axis in (ocs.ux, ocs.uy, ocs.uz) for c in axis]
    if op == "mul":
        values = list(map(float, args))
        return list(Matrix44(values[:16]) @ Matrix44(values[16:]))
    if op == "inv":
        matrix = Matrix44(list(map(float, args)))
        matrix.inverse()
        return list(matrix)
    if op == "map":
        return list(chain(args))
    raise ValueError(f"unknown question {op}")


def main():
    for line in sys.stdin:
        if line.strip():
            print(" ".join(repr(float(x)) for x in answer(line)))


if __name__ == "__main__":
    main()
