// The newest result of one kind. Each writes the date of its kind's newest record into `answer` (at least 128
// bytes), or the sentence that there is none, and returns 0; on failure it returns the store request's code
// and writes nothing.
#pragma once

int get_lastest_human_metadata(char* answer);
int get_lastest_face_metadata(char* answer);
int get_lastest_model_metadata(char* answer);
