// SPDX-License-Identifier: MIT
// The one place that compiles the picture writer's code.
#define STB_IMAGE_WRITE_IMPLEMENTATION
#include <stb_image_write.h>
