// The display of the selected object as a zip file in the temporary folder.

#include "findsimilar/ZALVelmartFindSimilarCmd.h"
#include "host/archive.h"
#include "host/files.h"
#include "host/system.h"
#include "host/visualization.h"
#include "traces/ZALVelmartIntegrationDebug.h"

HRESULT ZALVelmartFindSimilarCmd::SaveAsTempLVR(ZALBaseUnknown* object, ZALUnicodeString& zipPath)
{
    HRESULT result = E_FAIL;

    const ZALI3DGeoVisu_var display(object);
    ZALRep* const representation = display ? display->GiveRep() : nullptr;
    if (representation) {
        const ZALUnicodeString folder = ZALGetOfficialVariable("ZALTemp");

        ZALUnicodeString lightFile = folder;
        ZALMakePath(lightFile, "VLUploadedLVRFile.lvr");

        if (ZALWriteLvr(representation, lightFile.ConvertToChar().CastToCharPtr(), ZALLvrWholeDisplay, nullptr, 0,
                        ZALLvrInOneFile) == 0) {
            zipPath = folder;
            ZALMakePath(zipPath, "VLUploadedLVRFile.zip");

            ZALSysZipFile zip;
            zip.OpenZip(zipPath, ZALZipWrite);
            zip.AddFile(lightFile, 1, 1, folder, 0);
            zip.Close();

            // Nobody looks at the four results: the size of the zip file tells whether it has come about.
            ZALDeleteFile(lightFile);
            result = S_OK;
        }
    }

    VL_TRACE("ZALVelmartFindSimilarCmd::SaveAsTempLVR : " << (SUCCEEDED(result) ? "S_OK" : "E_FAIL") << " : "
                                                          << zipPath);
    return result;
}
