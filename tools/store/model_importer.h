#pragma once

#include "detections.h"

/// Objects found by an imported detection model.
const detection_kind& model_importer();
