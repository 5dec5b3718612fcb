"""Two planners and the one inequality on which their plans collide.

Cells like these run in notebooks and editors, or all at once: python3 planners.py
"""

# %% A workshop has promised an order within 20 hours.
from fractions import Fraction

from opal import Session, implies

s = Session()
start, turn, paint, leave = s.reals("start turn paint leave")
s.add("lathe", turn >= start + 7, paint >= turn + 5)
s.add("painters", leave >= paint + 9)
s.add("promise", leave <= start + 20)
print(s.check())

# %% What does the painters' side have to know of the lathe's plan?
s.check_proof()
print(s.interpolants(["lathe", "painters", "promise"]))

# %% With half an hour less on the lathe and half an hour more for the promise it works.
s.reset()
s.add("lathe", turn >= start + Fraction(13, 2), paint >= turn + 5)
s.add("painters", leave >= paint + 9)
s.add("promise", leave <= start + Fraction(41, 2), start == 0)
print(s.check(), [str(s.value(v)) for v in (turn, paint, leave)])

# %% Without overtime painting takes two hours more, and overtime begins in hour 14.
overtime = s.bool("overtime")
s.add("painters", overtime | (leave >= paint + 11))
s.add("promise", implies(overtime, paint >= 14))
print(s.check(), s.interpolant("painters", "promise"))

# %% A loop that adds 4 to an address that starts at 8 never reaches 18: the interpolant
# between its first steps and the claim is an invariant.
with Session() as loop:
    x, y, n = loop.integers("x y n")
    loop.add("start", x == 8 * n)
    loop.add("step", y == x + 4)
    loop.add("claim", y == 18)
    print(loop.check(), loop.interpolants(["start", "step", "claim"]))
