// Models: read, checked, written.
#include <sstream>

#include "bindings.h"
#include "hostrun/fixed_paths.h"
#include "output/output_files.h"
#include "preflight/model_check.h"
#include "training/model_findings.h"
#include "training/model_output.h"

namespace wgr::python {

static py::list check(const std::string& path) {
  const ModelCheck found = released([&] { return check_model_file(path); });
  py::list all;
  for (const ModelFinding& finding : found.findings) {
    all.append(py::make_tuple(finding.line, finding.text));
  }
  return all;
}

static py::list templates_of(const Gmodel& model) {
  py::list all;
  for (const auto& [label, points] : model.templates) {
    all.append(py::make_tuple(label, array_of(points)));
  }
  return all;
}

// As it is read from a file.
static std::shared_ptr<Gmodel> model_from(const std::string& text) {
  std::istringstream file(text);
  auto model = std::make_shared<Gmodel>();
  model->read(file);
  return model;
}

void add_models(py::module_& module) {
  py::class_<Gmodel, std::shared_ptr<Gmodel>>(module, "Model")
      .def_property_readonly("text", &model_text)
      .def_property_readonly("normalize",
                             [](const Gmodel& m) { return m.normalize != 0; })
      .def_property_readonly("gravity", [](const Gmodel& m) { return m.havegravity; })
      .def_property_readonly("labels", [](const Gmodel& m) { return m.class_labels; })
      .def_property_readonly("thresholds",
                             [](const Gmodel& m) { return m.class_thresholds; })
      .def_property_readonly("templates", templates_of)
      .def(py::pickle(&model_text, &model_from));
  module.def(
      "read_model",
      [](const std::string& path) {
        return released(
            [&] { return std::make_shared<Gmodel>(read_useful_model(path)); });
      },
      py::arg("path"));
  module.def(
      "model_file",
      [](const std::string& folder, int wearer, int mode) {
        existing_folder(folder);
        require_model(folder, wearer, mode);
        return model_file(folder, wearer, mode);
      },
      py::arg("folder"), py::arg("wearer"), py::arg("mode"));
  module.def("model_of_text", model_from, py::arg("text"));
  module.attr("installed_models") = kInstalledModels;
  module.def("check_model", check, py::arg("path"));
  module.def(
      "write_file",
      [](const std::string& path, const std::string& bytes) {
        return released([&] {
          write_output(path, bytes);
          return true;
        });
      },
      py::arg("path"), py::arg("bytes"));
}

}  // namespace wgr::python
