#pragma once

#include <cstdint>

#include "velmo_scenes/canvas.h"
#include "velmo_scenes/frame.h"

namespace scenes {

// What a camera and the road to the viewer do to a scene. Lengths are in picture heights.
struct Camera {
    Colour gain{1.0F, 1.0F, 1.0F};  // exposure and white balance
    float contrast = 0.0F;          // -1 to 1
    float bend = 0.0F;              // of the middle tones: below 0 darker, above 0 brighter
    float haze = 0.0F;              // what is added everywhere
    float saturation = 1.0F;
    float vignette = 0.0F;
    float blur = 0.0F;         // of everything
    float smear = 0.0F;        // sideways only
    float background = 0.0F;   // blur of the background alone
    float noise = 0.0F;        // of the sensor, 1 is white
    bool blotchy = false;      // noise that is wider than a pixel
    float compression = 0.0F;  // 0 none, 1 heavy blocks
    float flicker = 0.0F;      // of the brightness, as time goes on
    float unrest = 0.0F;       // how far the hand that holds it shakes
};

// Thread: any.
Camera DrawCamera(Random& random);

// Smooths the colours, not the truth.
//   across, down  standard deviation in picture heights, at least 0; 0.15 pixels and less leave the picture as it is
// Beyond the edge the picture goes on as its outermost pixels. Throws std::bad_alloc. Thread: any.
void Blur(Canvas& canvas, float across, float down);

// The canvas as bytes: colours through the camera, the mask as it is.
//   canvas     its colours are blurred in place, as the camera does
//   noiseSeed  picks the noise; without noise, pass a camera without it
//   frame      out: size, picture and mask; the rest is left. Its buffers are used again
// Throws std::bad_alloc. Thread: any.
void Develop(Canvas& canvas, const Camera& camera, std::uint64_t noiseSeed, Frame& frame);

}  // namespace scenes
