#pragma once

// The component's whole public interface.
#include <oquivran/DataObject.h>
#include <oquivran/Expiry.h>
#include <oquivran/Module.h>
#include <oquivran/Printing.h>
#include <oquivran/Recordset.h>
#include <oquivran/RuntimeError.h>
#include <oquivran/Schema.h>
#include <oquivran/SqlDataObject.h>
#include <oquivran/TextPrintService.h>
#include <oquivran/clQUIVRAN.h>
