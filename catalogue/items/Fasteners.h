// Shapes of fasteners. All lengths in millimetres; each fastener stands on the z axis. Threads are shown by
// their outer diameter on bolts and by their core diameter in nuts.
#pragma once

class TopoDS_Shape;

namespace catalogue {

/// Hexagon head bolt, ISO 4014. The head lies below z = 0, the shank above.
struct BoltDimensions {
    double diameter;         ///< d, of the thread
    double pitch;            ///< P
    double length;           ///< l, of the shank
    double headHeight;       ///< k
    double widthAcrossFlats; ///< s
    double threadLength;     ///< b
};

/// Hexagon nut, ISO 4032. Stands on z = 0.
struct NutDimensions {
    double diameter;
    double pitch;
    double height;           ///< m
    double widthAcrossFlats; ///< s
};

/// Plain washer, ISO 7089. Lies on z = 0.
struct WasherDimensions {
    double innerDiameter; ///< d1
    double outerDiameter; ///< d2
    double thickness;     ///< h
};

TopoDS_Shape MakeBolt(const BoltDimensions& bolt);
TopoDS_Shape MakeNut(const NutDimensions& nut);
TopoDS_Shape MakeWasher(const WasherDimensions& washer);

/// Volumes in cubic millimetres, computed from the dimensions without the shapes.
double BoltVolume(const BoltDimensions& bolt);
double NutVolume(const NutDimensions& nut);
double WasherVolume(const WasherDimensions& washer);

} // namespace catalogue
