// insert_ai_metadata: a report, then the store's answers to the requests that come of it.
#include "fuzz/check.h"
#include "fuzz/input.h"
#include "fuzz/library_call.h"
#include "fuzz/memory_session.h"

#include <korvane/ai_metadata.h>

using namespace korvane::fuzz;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::vector<std::string_view> texts = split_texts(data, size);
    const std::string_view report = texts.front();
    texts.erase(texts.begin());
    const memory_store store(std::move(texts));
    exact_text given(report);
    int code = 0;
    const bool returned = library_survives([&] { code = insert_ai_metadata(given.data()); },
                                           {"timestamp", "appID", "appName", "model", "brand", "channel_sid",
                                            "version", "task_name", "description"});
    require(given.view() == report, "the report was changed", given.view());
    require(!returned || store.may_have_caused(code), "a code that is neither the library's nor the store's");
    return 0;
}
