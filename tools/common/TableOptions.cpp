#include "common/TableOptions.h"

namespace lumtools {

CLI::Option* AddForms(CLI::App& command, std::string& form, const std::vector<std::string>& forms,
                      const std::string& text) {
    return command.add_option("-o,--output", form, text)->type_name("FORM")->check(CLI::IsMember(forms));
}

void TableOptions::AddTo(CLI::App& command, bool& json) {
    AddTo(command, json, {"table", "wide", "json"}, "table, wide (whole), or json");
}

void TableOptions::AddTo(CLI::App& command, bool& json, const std::vector<std::string>& forms,
                         const std::string& text) {
    AddForms(command, form, forms, text)->each([&json](const std::string& word) { json = json || word == "json"; });
    command.add_flag("--no-headers", noHeaders, "Leave the line of headings out");
}

TableLayout TableOptions::GetLayout() const {
    TableLayout layout = TableLayout::ForOutput();
    if (form == "wide") layout.columns = 0;
    layout.hasHeader = !noHeaders;
    return layout;
}

}  // namespace lumtools
