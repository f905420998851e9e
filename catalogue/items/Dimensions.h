// Dimensions of the parts that assemblies are built from. Lengths in millimetres.
#pragma once

#include "catalogue/items/Fasteners.h"
#include "catalogue/items/Machinery.h"
#include "catalogue/items/Structures.h"

namespace catalogue {

inline constexpr WasherDimensions WasherM6{.innerDiameter = 6.4, .outerDiameter = 12, .thickness = 1.6};
inline constexpr WasherDimensions WasherM8{.innerDiameter = 8.4, .outerDiameter = 16, .thickness = 1.6};

inline constexpr BearingDimensions Bearing6204{.bore = 20,
                                               .outerDiameter = 47,
                                               .width = 14,
                                               .cornerRadius = 1,
                                               .innerRingShoulder = 28.8,
                                               .outerRingShoulder = 39.4,
                                               .ballDiameter = 7.938,
                                               .balls = 8};

inline constexpr ShaftDimensions SteppedShaft20{.diameters = {16, 20, 26, 20, 16},
                                                .lengths = {30, 14, 60, 14, 36},
                                                .chamfer = 1,
                                                .keyWidth = 5,
                                                .keyDepth = 3,
                                                .keyLength = 25,
                                                .keyEndDistance = 5};

inline constexpr BracketDimensions Bracket40{
    .leg = 40, .thickness = 4, .width = 38, .innerRadius = 4, .outerRadius = 6, .cornerRadius = 5, .holeDiameter = 6.6};

/// The slot nut sits in a profile: this far lies its bearing face below the face of the profile.
inline constexpr double ProfileLip = 4.5;

inline constexpr ProfileDimensions Profile40{.side = 40,
                                             .length = 400,
                                             .cornerRadius = 4,
                                             .slotWidth = 8.2,
                                             .lip = ProfileLip,
                                             .slotInside = 20,
                                             .slotWall = 7.5,
                                             .slotGround = 9,
                                             .slotDepth = 12.5,
                                             .boreDiameter = 6.8};

inline constexpr HousingDimensions Housing47{.length = 130,
                                             .width = 50,
                                             .baseHeight = 16,
                                             .baseRadius = 8,
                                             .axisHeight = 50,
                                             .bodyRadius = 38,
                                             .bodyWidth = 30,
                                             .footFillet = 4,
                                             .seatDiameter = 47,
                                             .seatDepth = 14,
                                             .passDiameter = 40,
                                             .holeDiameter = 9,
                                             .holeDistanceX = 104,
                                             .holeDistanceY = 30};

} // namespace catalogue
