#ifndef NYX_CLASS_IDS_H
#define NYX_CLASS_IDS_H

/* The class ids of nyxcodecs.dll, nyxsource.dll and nyxshell.dll, for hosts in C and C++. The
 * libraries of 32 and of 64 bits have the same ids. */

#include <windows.h>

#ifdef __cplusplus
#define NYX_CLASS_ID inline constexpr CLSID
#else
#define NYX_CLASS_ID static const CLSID
#endif

/* nyxcodecs.dll: decoders. The input types are MEDIATYPE_Video with the FourCC beside the id. */
NYX_CLASS_ID CLSID_NyxDv25Decoder = /* {194BF9E2-3566-43C0-AA21-EEC7278EA7D8} QDVC */
    {0x194BF9E2, 0x3566, 0x43C0, {0xAA, 0x21, 0xEE, 0xC7, 0x27, 0x8E, 0xA7, 0xD8}};
NYX_CLASS_ID CLSID_NyxDv50Decoder = /* {B3106B88-8D62-4B34-8FDF-6CA7867BB99F} QDV5 */
    {0xB3106B88, 0x8D62, 0x4B34, {0x8F, 0xDF, 0x6C, 0xA7, 0x86, 0x7B, 0xB9, 0x9F}};
NYX_CLASS_ID CLSID_NyxDvHdDecoder = /* {43749036-6EBA-4A63-9B9B-2EDC0D073B2B} QDVH */
    {0x43749036, 0x6EBA, 0x4A63, {0x9B, 0x9B, 0x2E, 0xDC, 0x0D, 0x07, 0x3B, 0x2B}};
NYX_CLASS_ID CLSID_NyxZetaDecoder = /* {F8C71073-10DB-4DFF-8EA6-CEA26400AFFB} QZTA */
    {0xF8C71073, 0x10DB, 0x4DFF, {0x8E, 0xA6, 0xCE, 0xA2, 0x64, 0x00, 0xAF, 0xFB}};
NYX_CLASS_ID CLSID_NyxLosslessDecoder = /* {9770AADC-2F6D-4586-9059-F847E46D3833} QLLC */
    {0x9770AADC, 0x2F6D, 0x4586, {0x90, 0x59, 0xF8, 0x47, 0xE4, 0x6D, 0x38, 0x33}};
NYX_CLASS_ID CLSID_NyxMpegIntraDecoder = /* {48BC3ED7-498D-4F7C-A121-EE72A9EFC483} QMIC */
    {0x48BC3ED7, 0x498D, 0x4F7C, {0xA1, 0x21, 0xEE, 0x72, 0xA9, 0xEF, 0xC4, 0x83}};
NYX_CLASS_ID CLSID_NyxZeta2Decoder = /* {05B95B6B-C3CD-4B91-AF3B-BBBB7DF64CD0} QZT2 */
    {0x05B95B6B, 0xC3CD, 0x4B91, {0xAF, 0x3B, 0xBB, 0xBB, 0x7D, 0xF6, 0x4C, 0xD0}};
NYX_CLASS_ID CLSID_NyxTenBitDecoder = /* {3D1F4E99-3ADF-471E-8C1A-B7D678B4A238} Q210 */
    {0x3D1F4E99, 0x3ADF, 0x471E, {0x8C, 0x1A, 0xB7, 0xD6, 0x78, 0xB4, 0xA2, 0x38}};

/* nyxcodecs.dll: the encoder, which also implements IEncodeParmeter_QZTA, and its property page. */
NYX_CLASS_ID CLSID_NyxZetaEncoder = /* {F891D31F-209D-4AF8-AEBC-FF2472BC14C3} */
    {0xF891D31F, 0x209D, 0x4AF8, {0xAE, 0xBC, 0xFF, 0x24, 0x72, 0xBC, 0x14, 0xC3}};
NYX_CLASS_ID CLSID_NyxZetaPropertyPage = /* {55B150FB-86E8-4B96-9849-73B76D260D2A} */
    {0x55B150FB, 0x86E8, 0x4B96, {0x98, 0x49, 0x73, 0xB7, 0x6D, 0x26, 0x0D, 0x2A}};

/* nyxsource.dll: the source filter; IFileSourceFilter opens the file. */
NYX_CLASS_ID CLSID_NyxFootageSource = /* {5F2C1E6A-8B0D-4C57-9D3E-7A41B6C9E210} */
    {0x5F2C1E6A, 0x8B0D, 0x4C57, {0x9D, 0x3E, 0x7A, 0x41, 0xB6, 0xC9, 0xE2, 0x10}};

/* nyxsource.dll: the splitters, which read a file through another filter, by IAsyncReader. */
NYX_CLASS_ID CLSID_NyxAviSplitter = /* {5F2C1E6B-8B0D-4C57-9D3E-7A41B6C9E210} */
    {0x5F2C1E6B, 0x8B0D, 0x4C57, {0x9D, 0x3E, 0x7A, 0x41, 0xB6, 0xC9, 0xE2, 0x10}};
NYX_CLASS_ID CLSID_NyxMovSplitter = /* {5F2C1E6C-8B0D-4C57-9D3E-7A41B6C9E210} */
    {0x5F2C1E6C, 0x8B0D, 0x4C57, {0x9D, 0x3E, 0x7A, 0x41, 0xB6, 0xC9, 0xE2, 0x10}};
NYX_CLASS_ID CLSID_NyxRawSplitter = /* {5F2C1E6D-8B0D-4C57-9D3E-7A41B6C9E210} */
    {0x5F2C1E6D, 0x8B0D, 0x4C57, {0x9D, 0x3E, 0x7A, 0x41, 0xB6, 0xC9, 0xE2, 0x10}};

/* nyxshell.dll, for the shell: IThumbnailProvider and IPropertyStore; IInitializeWithStream or
 * IInitializeWithFile names the file. */
NYX_CLASS_ID CLSID_NyxFootageHandler = /* {5F2C1E6E-8B0D-4C57-9D3E-7A41B6C9E210} */
    {0x5F2C1E6E, 0x8B0D, 0x4C57, {0x9D, 0x3E, 0x7A, 0x41, 0xB6, 0xC9, 0xE2, 0x10}};

#undef NYX_CLASS_ID

#endif
