#pragma once
#include <string_view>
#include <vector>

// The page of the preview, built into the program: plain HTML, CSS and JavaScript, served as
// they are, so that nothing is downloaded at run time.
struct PageFile {
    std::string_view path; // as requested: "/", "/preview.js", ...
    std::string_view type; // the Content-Type
    std::string_view body;
};

std::vector<PageFile> const& previewPage();
