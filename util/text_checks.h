// Checks and rewrites of plain texts. The library itself calls none of these; hosts do.
#pragma once

/// 0, or -1 when `text` begins with a blank or holds one of ? ^ | + * \ " ' / : ; = , < > and the backquote;
/// the first such character is logged.
int check_abnormal_char(const char* text);

/// Moves the blanks of `text` behind its other characters, which keep their order; returns how many those
/// are.
int removeBlank(char* text);

/// Rewrites, in place, a JSON text whose "timestamp" is a bare number so that it becomes a quoted one; `text`
/// needs room for two more characters. The member must be followed by another. 0, or result_bad_request when
/// there is no such member, or when more room would be needed: the name stands in the text as something else
/// first. A value over 14 characters ends the process.
int trans_time_to_string(char* text);
