"""Derives units from their definitions, in fractions and independently of the library: for the tests.

Writes "UNITS<tab>BASE UNITS<tab>VALUE" a line: what one of the units is, as the double nearest to it.
"""
from fractions import Fraction as F

PI = F("3.14159265358979323846264338327950288419716939937510582097")
INCH, POUND, GRAVITY, ATMOSPHERE = F("0.0254"), F("0.45359237"), F("9.80665"), F(101325)
LIGHT, CHARGE, AVOGADRO = F(299792458), F("1.602176634e-19"), F("6.02214076e23")
FOOT, GRAIN, OUNCE, FORCE = 12 * INCH, POUND / 7000, POUND / 16, POUND * GRAVITY
SURVEY_FOOT = F(1200, 3937)
GALLON, BUSHEL = 231 * INCH**3, F("2150.42") * INCH**3
PSI, HORSEPOWER = FORCE / INCH**2, 550 * FOOT * FORCE
HOUR, MINUTE = 3600, 60

UNITS = {
    "kg": {
        "assay_ton": F(29166 * 3 + 2, 3) / 10**6, "avoirdupois_ounce": OUNCE, "dram": OUNCE / 16,
        "long_hundredweight": 112 * POUND, "short_hundredweight": 100 * POUND, "pennyweight": 24 * GRAIN,
        "troy_ounce": 480 * GRAIN, "apothecary_ounces": 480 * GRAIN, "troy_pound": 5760 * GRAIN,
        "slug": FORCE / FOOT, "slugs": FORCE / FOOT, "u": F("1.66053906660e-27"), "lbs": POUND,
        "stone": 14 * POUND, "stones": 14 * POUND,
    },
    "m": {
        "chain": 66 * SURVEY_FOOT, "light_year": LIGHT * F("365.25") * 24 * HOUR,
        "parsec": 648000 / PI * 149597870700,
    },
    "m^2": {"circular_mil": PI / 4 * (INCH / 1000)**2, "darcy": F("1e-7") / ATMOSPHERE, "ha": F(10000)},
    "m^3": {
        "acre_foot": 43560 * SURVEY_FOOT**3, "board_feet": 144 * INCH**3, "bushel": BUSHEL, "peck": BUSHEL / 4,
        "US_dry_gallon": BUSHEL / 8, "dry_quart": BUSHEL / 32, "dry_pint": BUSHEL / 64,
        "register_ton": 100 * FOOT**3, "gallon": GALLON, "Gallons": GALLON, "US_liquid_gallon": GALLON,
        "bbl": 42 * GALLON, "firkin": 42 * GALLON / 4, "quart": GALLON / 4, "pint": GALLON / 8, "cup": GALLON / 16,
        "gill": GALLON / 32, "fluid_ounce": GALLON / 128, "tbsp": GALLON / 256, "tsp": GALLON / 768,
        "fldr": GALLON / 1024, "kilogallon": 1000 * GALLON, "KiloGallon": 1000 * GALLON,
    },
    "m^3 s^-1": {"cfm": FOOT**3 / MINUTE, "gpm": GALLON / MINUTE},
    "N": {"ozf": OUNCE * GRAVITY, "lbf": FORCE, "poundal": POUND * FOOT, "dyn": F("1e-5"), "mdyn": F("1e-8")},
    "Pa": {
        "psi": PSI, "psia": PSI, "psi(a)": PSI, "psig": PSI + ATMOSPHERE, "psi(g)": PSI + ATMOSPHERE,
        "bar(a)": F(10**5), "bara": F(10**5), "mbar(a)": F(100), "kPa(a)": F(1000), "MPa(a)": F(10**6),
        "bar(g)": 10**5 + ATMOSPHERE, "barg": 10**5 + ATMOSPHERE, "mbar(g)": 100 + ATMOSPHERE,
        "kPa(g)": 1000 + ATMOSPHERE, "MPa(g)": 10**6 + ATMOSPHERE, "inH2O": 1000 * GRAVITY * INCH,
        "torr": ATMOSPHERE / 760, "Torr": ATMOSPHERE / 760, "mtorr": ATMOSPHERE / 760000,
        "mmHg": F("13595.1") * GRAVITY / 1000,
    },
    "Pa s": {"cP": F("0.001")},
    "J": {
        "eV": CHARGE, "MeV": CHARGE * 10**6, "bev": CHARGE * 10**9, "Wh": F(HOUR), "kWh": F(1000 * HOUR),
        "MWh": F(10**6 * HOUR), "Nm": F(1), "kNm": F(1000), "cal_IT": F("4.1868"), "kcal_th": F(4184),
        "BTU": F("1055.05585262"),
    },
    "W": {"hp": HORSEPOWER, "UK_horsepower": HORSEPOWER, "metric_horsepower": 75 * GRAVITY},
    "rad": {"gon": PI / 200},
    "kg/m": {"denier": F(1, 9000000)},
    "mol": {"molecule": 1 / AVOGADRO},
    "mol^-1": {"avogadro_constant": AVOGADRO},
    "coulomb": {"faraday": CHARGE * AVOGADRO, "statcoulomb": 1 / (10 * LIGHT)},
    "A": {"gilbert": 10 / (4 * PI), "statampere": 1 / (10 * LIGHT)},
    "A/m": {"oersted": 1000 / (4 * PI)},
    "Wb": {"unit_pole": 4 * PI / 10**8},
    "V": {"statvolt": LIGHT / 10**6},
    "ohm": {"statohm": LIGHT**2 / 10**5},
    "H": {"stathenry": LIGHT**2 / 10**5},
    "farad": {"statfarad": 10**5 / LIGHT**2},
    "S": {"statmho": 10**5 / LIGHT**2},
    "lx": {"footcandle": 1 / FOOT**2},
    "cd/m^2": {"footlambert": 1 / PI / FOOT**2},
}

for base, units in UNITS.items():
    for name, value in units.items():
        print(name, base, repr(float(value)), sep="\t")
