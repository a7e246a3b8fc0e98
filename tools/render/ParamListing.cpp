#include "tools/render/ParamListing.h"

#include "core/Plug.h"
#include "tools/render/ParamDisplay.h"

std::vector<std::string> parameterListing(Plug& fx) {
    std::vector<std::string> lines;
    lines.reserve(kNumParams);
    for (int32_t i = 0; i < kNumParams; ++i) {
        char name[kParamTextSize] = {};
        fx.getParameterName(i, name);

        std::string low = shownValue(fx, i, 0.0);
        std::string high = shownValue(fx, i, 1.0);
        if (!isChannelLevel(i) && fx.normToDisplay(i, 0.0) > fx.normToDisplay(i, 1.0)) std::swap(low, high);

        std::string choices;
        const ChoiceWords words = choiceWordsOf(fx, i);
        for (int32_t k = 0; k < words.count; ++k) {
            if (k) choices += '|';
            choices += words.words[k];
        }

        std::string line = std::to_string(i);
        for (const std::string& field :
             {std::string(name), shownUnit(fx, i), low, high, shownValue(fx, i, fx.getDefaultNorm(i)), choices})
            line += "\t" + field;
        lines.push_back(line);
    }
    return lines;
}
