#pragma once

// The angle constants, written once. Hosts keep angles in radians; the catalogue, the command
// line and the geometry speak degrees. The values are the nearest doubles, as literals so that
// every use multiplies by the same bits.
inline constexpr double kPi = 3.141592653589793;
inline constexpr double kHalfPi = 1.5707963267948966;
inline constexpr double kPiSquared = 9.869604401089358;
inline constexpr double kDegreesToRadians = 0.017453292519943295;
inline constexpr double kHalfDegreesToRadians = 0.008726646259971648;
inline constexpr double kRadiansToDegrees = 57.29577951308232;
// Half the 40-degree field of view of the transforms' camera, in radians.
inline constexpr double kCameraHalfAngle = 0.3490658503988659;
