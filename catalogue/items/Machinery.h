// Shapes of machine elements. Lengths in millimetres; each element stands on the z axis.
#pragma once

class TopoDS_Shape;

namespace catalogue {

/// Deep-groove ball bearing, ISO 15. Lies on z = 0; rings and balls are solids of their own.
struct BearingDimensions {
    double bore;              ///< d
    double outerDiameter;     ///< D
    double width;             ///< B
    double cornerRadius;      ///< r
    double innerRingShoulder; ///< outer diameter of the inner ring
    double outerRingShoulder; ///< inner diameter of the outer ring
    double ballDiameter;
    int balls;
};

/// Shaft in five steps along z from z = 0, with a keyway of round ends, DIN 6885, in the last step.
struct ShaftDimensions {
    double diameters[5];
    double lengths[5];
    double chamfer;        ///< at both ends, 45 degrees
    double keyWidth;       ///< b
    double keyDepth;       ///< t1
    double keyLength;      ///< l, round ends included
    double keyEndDistance; ///< from the end of the shaft to the end of the keyway
};

/// Spur gear with a reference profile of ISO 53. Lies on z = 0.
struct GearDimensions {
    double module;
    int teeth;
    double faceWidth;
    double bore;
    double keyWidth; ///< b
    double keyDepth; ///< t2, above the bore
};

TopoDS_Shape MakeBearing(const BearingDimensions& bearing);
TopoDS_Shape MakeShaft(const ShaftDimensions& shaft);
TopoDS_Shape MakeGear(const GearDimensions& gear);

/// Volumes in cubic millimetres, computed from the dimensions without the shapes.
double BearingVolume(const BearingDimensions& bearing);
double ShaftVolume(const ShaftDimensions& shaft);
double GearVolume(const GearDimensions& gear);

} // namespace catalogue
