#pragma once

#include <string>
#include <variant>
#include <vector>

#include "analysis/noisefigures.h"
#include "analysis/sarfigures.h"
#include "analysis/sdfigures.h"

namespace kelp::cli {

// An ordered tree of named values: printed as JSON or as indented "name: value" lines.
struct Node {
    using List = std::vector<Node>;
    std::string key;
    std::variant<std::string, bool, int, std::vector<int>, List> value;
};

Node Text(std::string key, std::string text);
Node Flag(std::string key, bool on);
Node Integer(std::string key, int value);
Node Group(std::string key, Node::List children);

std::string ToJson(const Node& root);
std::string ToText(const Node& root);

// Every figure SAR_KELP_Analysis shows for the run, each as the text of its box, under a
// name that says what it is; then the histogram's counts.
Node SarFigureNodes(const analysis::SarRunSettings& settings, const analysis::SarRunData& data);
// Every figure SD_KELP_Analysis shows: the settings summary, then one group per converter.
Node SdFigureNodes(const analysis::SdAnalysisInput& input);

}  // namespace kelp::cli
