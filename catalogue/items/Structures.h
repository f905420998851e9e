// Shapes of structural parts. Lengths in millimetres.
#pragma once

class TopoDS_Shape;

namespace catalogue {

/// Angle bracket: two equal legs along x and z from the origin, its width along y and centred there. Each leg
/// has one hole in its middle.
struct BracketDimensions {
    double leg;
    double thickness;
    double width;
    double innerRadius; ///< of the fillet between the legs
    double outerRadius;
    double cornerRadius; ///< of the legs' ends
    double holeDiameter;
};

/// Square aluminium profile with a T slot on each side, along z from z = 0, centred on the z axis.
struct ProfileDimensions {
    double side;
    double length;
    double cornerRadius;
    double slotWidth;
    double lip;        ///< thickness of the slot's lips
    double slotInside; ///< width behind the lips
    double slotWall;   ///< depth at which the slot begins to narrow
    double slotGround; ///< width at the ground
    double slotDepth;
    double boreDiameter;
};

/// Nut for a T slot, its length along y. The screw comes along +z; z = 0 is the face of the profile.
struct SlotNutDimensions {
    double neckWidth;
    double neckHeight;
    double bodyFrom; ///< z of the body's face behind the lips, where the neck ends
    double bodyWidth;
    double bodyHeight;
    double length;
    double coreDiameter;
};

/// Housing of a bearing. The base lies on z = 0 with its length along x; the bearing's axis is parallel to y.
/// The seat opens to +y.
struct HousingDimensions {
    double length;
    double width;
    double baseHeight;
    double baseRadius; ///< of the base's corners
    double axisHeight;
    double bodyRadius;
    double bodyWidth;
    double footFillet; ///< between body and base
    double seatDiameter;
    double seatDepth;
    double passDiameter; ///< of the bore behind the seat
    double holeDiameter;
    double holeDistanceX;
    double holeDistanceY;
};

TopoDS_Shape MakeBracket(const BracketDimensions& bracket);
TopoDS_Shape MakeProfile(const ProfileDimensions& profile);
TopoDS_Shape MakeSlotNut(const SlotNutDimensions& nut);
TopoDS_Shape MakeHousing(const HousingDimensions& housing);

/// Volumes in cubic millimetres, computed from the dimensions without the shapes.
double BracketVolume(const BracketDimensions& bracket);
double ProfileVolume(const ProfileDimensions& profile);
double SlotNutVolume(const SlotNutDimensions& nut);
double HousingVolume(const HousingDimensions& housing);

} // namespace catalogue
