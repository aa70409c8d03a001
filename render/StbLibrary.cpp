// SPDX-License-Identifier: MIT
// The one place that compiles the picture writer's code; its warnings are not ours.
#pragma GCC system_header
#define STB_IMAGE_WRITE_IMPLEMENTATION
#include <stb_image_write.h>
