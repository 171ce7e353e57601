// The A weighting of IEC 61672-1.
#pragma once

namespace mersola::acoustics {

// As a factor on power: 1 at 1 kHz, 0 at 0 Hz. The frequency is in hertz.
double AWeight(double frequency);

}  // namespace mersola::acoustics
