// SPDX-License-Identifier: MIT
/// WMTS in key-value form: "?SERVICE=WMTS&REQUEST=GetTile&...".
#pragma once

#include "serve/Answer.h"
#include "serve/HttpRequest.h"
#include "serve/Route.h"

namespace KxTileHost::Serve {

/// What is asked for: kWmts for the capabilities, kTile, or kMalformed. Without a request it is the
/// address that people paste: it gets the capabilities. Names count in upper and lower case.
Route ReadWmtsQuery(const HttpRequest& request);

/// A refusal in the form that WMTS clients show; any other answer as it is.
AnswerPtr AsExceptionReport(AnswerPtr answer);

} // namespace KxTileHost::Serve
