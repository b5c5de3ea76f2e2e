#pragma once

#include "detections.h"

/// People found in a picture.
const detection_kind& human_detect();
