#pragma once
// Plane geometry over points of the still picture, in the coordinates the caller gives.
// No state, no user interface. Routines that give a truth value trap float errors
// (overflow, division by zero, invalid operation): they then give False, and results
// written before the error stay written.
#include <vector>

#include "VariableDefinition.h"

namespace tavix {

// Deliberately this short literal, not a more exact pi: results must agree to the last bit.
constexpr double Pi = 3.14159265358979;

// Raises ErrOverflow when the result is not finite.
double RadianToDegree(double Radian);

// 0 on a float error.
double PointDistance(const Point2D& A, const Point2D& B);

// Direction of (X, Y) in radians, in (-Pi, Pi]; 0 for the origin and on a float error.
double PointAtan2(double Y, double X);

// Raises ErrOverflow when a coordinate is not finite.
Point2D MidPoint(const Point2D& A, const Point2D& B);

// Foot of the perpendicular from P on the unbounded line through L1 and L2. Coinciding
// L1 and L2 count as a horizontal line.
bool PerpendicularFoot(const Point2D& L1, const Point2D& L2, const Point2D& P, Point2D& Foot, double& Distance);

// Area of the closed polygon Points[1..] in the square of the current calibration's unit.
// False also without calibration zoom, with no current calibration or without a corner.
bool PolygonArea(const std::vector<Point2D>& Points, double& Area);

// False, writing nothing, for points on one line or coinciding points.
bool CircleFrom3Points(const Point2D& A, const Point2D& B, const Point2D& C, Point2D& Center, double& Radius);

// Crossing of the unbounded lines A1-A2 and B1-B2; false, writing nothing, when parallel
// or when a line's two points coincide.
bool LineIntersection(const Point2D& A1, const Point2D& A2, const Point2D& B1, const Point2D& B2, Point2D& Point);

// Inner angle at V between the rays to A and B, 0 to Pi; false for a ray of length 0.
bool VertexAngle(const Point2D& A, const Point2D& V, const Point2D& B, double& Angle);

}  // namespace tavix
