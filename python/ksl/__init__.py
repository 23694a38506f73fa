"""Models of a flow post-processor: typed objects that are defined in KSL and recompute what depends on what.

>>> import ksl
>>> s = ksl.Session()
>>> outcome = s.run("CUT: Mid Span\\n  Offset = 25 [cm]\\nEND\\n")
>>> s["/CUT:Mid Span"]["Offset"].to("m")
0.25
>>> s.close()
"""

from ksl._errors import Error
from ksl._ksl import Change, Outcome, Plan, PlannedCalculation, PlannedChange, Report
from ksl._ksl import version as __version__
from ksl._objects import CalculationObject, Object, Objects, Value
from ksl._session import Session
from ksl._sweep import Sweep, sweep

__all__ = ["CalculationObject", "Change", "Error", "Object", "Objects", "Outcome", "Plan", "PlannedCalculation",
           "PlannedChange", "Report", "Session", "Sweep", "Value",
           "sweep", "__version__"]

for _public in (Error, Object, Objects, CalculationObject, Session, Sweep, Value, Change, Outcome, Plan, PlannedCalculation,
                PlannedChange, Report):
    _public.__module__ = "ksl"  # where people find them
