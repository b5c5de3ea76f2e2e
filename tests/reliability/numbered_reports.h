// Reports whose objects are told apart by a number, and what a store's database holds of them.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace korvane::test {

/// Report `number`, of a kind and with a count of objects that go by the number.
std::string numbered_report(int number);

/// How many objects, each stored by its own request, that report has.
int objects_of(int number);

/// How often each object is in the database file, by its label; the store may be dead.
std::map<std::string, int> stored_objects(const std::string& database_file);

/// The label of object `object`, from 0, of a report.
std::string label_of(int number, int object);

/// How often each object of the report is stored, in order, taken out of `stored`.
std::vector<int> take_objects(std::map<std::string, int>& stored, int number);

} // namespace korvane::test
