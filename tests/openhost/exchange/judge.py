# Run by FreeCAD: what its own reader finds in the STEP file of the environment's STEP_FILE, as JSON in STEP_FACTS.
import json
import os

import FreeCAD
import Import
import Part


def numbers(placement):
    return list(placement.toMatrix().A)[:12]


def solids(shape):
    return [[solid.Volume, solid.Area, *solid.CenterOfMass] for solid in shape.Solids]


def instances(thing, path, found):
    """The names on the way to each instance below `thing`, and where it stands in the whole."""
    for name in thing.getSubObjects():
        below = thing.getSubObject(name, retType=1)
        if below is None:
            continue
        here = path + [below.Label]
        found.append(["/".join(here), numbers(thing.getSubObject(name, retType=3))])
        instances(below, here, found)


document = FreeCAD.newDocument()
# Merged, as by default, it crashes without its window.
Import.insert(os.environ["STEP_FILE"], document.Name, merge=False)
facts = {"solids": [], "instances": [], "roots": []}
for root in document.RootObjects:
    facts["roots"].append(root.Label)
    shape = Part.getShape(root)
    facts["solids"] += solids(shape)
    facts["area"] = shape.Area
    instances(root, [], facts["instances"])
facts["solids"].sort(key=lambda solid: [round(number, 3) for number in solid])
with open(os.environ["STEP_FACTS"], "w") as output:
    json.dump(facts, output)
