// Sine and cosine from basic arithmetic alone, so that they are the same bits on every
// machine; libm's differ in the last one from processor to processor.
//
// Good to about 1e-15 for angles of up to some thousand radians.
#pragma once

namespace wgr {

double sine(double radians);
double cosine(double radians);

}  // namespace wgr
