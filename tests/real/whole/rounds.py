"""The kinds of values with which every native is called."""

from javavalues import Raw, Repeated, RepeatedList

# A letter, one of two bytes, one of six: the cut at 65,535 bytes falls into the last.
BIG = Repeated("x\u00e9\U0001f6d2", 262_144)
# A character ends exactly at the limit; one more letter and it would not.
BRIM = Repeated("\u20ac", 21_845 + 1)
ODD = "\U0001f6d2 na\u00efve \ud83d \uded2 \0 \u20ac \udfff"
LIMITS = {"byte": 8, "short": 16, "int": 32, "long": 64}


class Round:
    """Values by Java type; what a round does not say is as in the ordinary one."""

    def __init__(self, text=None, number=None, flag=True, array=None, objects=True, null=False):
        self.text = text
        self.number = number or (lambda kind, index: index + 1)
        self.flag = flag
        self.array = array or (lambda kind, index: ordinary_array(kind, 3))
        self.objects, self.null = objects, null

    def value(self, label, kind, index):
        if kind in LIMITS or kind == "double":
            return self.number(kind, index)
        if kind == "boolean":
            return self.flag
        if self.null:
            return None
        if kind == "java.lang.String":
            return f"{label} {index}" if self.text is None else self.text
        if kind.endswith("[]"):
            return self.array(kind[:-2], index)
        return Raw("@java.lang.String" if kind == "java.lang.Class" else "@")


def ordinary_array(kind, length):
    if kind == "java.lang.String":
        return [f"element {i}" for i in range(length)]
    return [True] * length if kind == "boolean" else list(range(1, length + 1))


def special_array(kind, element, number):
    return [element, None, element] if kind == "java.lang.String" else [number] * 3


def lowest(kind, _):
    return -(1 << LIMITS.get(kind, 8) - 1)


def highest(kind, _):
    return (1 << LIMITS.get(kind, 8) - 1) - 1


def long_array(length):
    return lambda kind, _: RepeatedList("element" if kind == "java.lang.String" else 1, length)


ORDINARY = Round()
ROUNDS = {
    "ordinary": ORDINARY,
    "null": Round(null=True, number=lambda *_: 0, flag=False),
    "empty": Round(text="", array=lambda *_: []),
    "big": Round(text=BIG, array=long_array(1_000)),
    "brim": Round(text=BRIM),
    "odd": Round(text=ODD, array=lambda kind, _: special_array(kind, ODD, -1)),
    "lowest": Round(number=lowest, flag=False,
                    array=lambda kind, _: special_array(kind, "", lowest(kind, 0))),
    "highest": Round(number=highest,
                     array=lambda kind, _: special_array(kind, "", highest(kind, 0))),
    "beyond sixteen bits": Round(number=highest, array=long_array(70_000)),
    "falling": Round(array=lambda kind, index: ordinary_array(kind, max(0, 8 - index))),
    "rising": Round(array=lambda kind, index: ordinary_array(kind, index + 1)),
}
