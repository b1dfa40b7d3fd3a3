// URLs as RFC 3986 has them: a text that is checked once, on creation, and a base that it may be relative to.
// A URL never changes and may be used by any number of threads. Texts are ASCII with percent escapes; what is not
// a character of RFC 3986 must be escaped first.
// What is created takes its memory from the allocator and is nothing where that gives none. Texts on the way there come
// from the process's memory: but for escaping and unescaping, the process stops with one line where it has none.

#pragma once

#include "Foundation/Text/ZoString.h"

ZO_EXTERN_C_BEGIN

typedef ZoIndex ZoURLPathStyle;
enum { kZoURLPOSIXPathStyle = 0 };

ZoTypeID ZoURLGetTypeID(void);

/// A URL of `string`, relative to `baseURL` if it has no scheme of its own. Nothing for text that RFC 3986's
/// URI-reference does not describe, and for empty text without a base.
ZoURLRef ZoURLCreateWithString(ZoAllocatorRef allocator, ZoStringRef string, ZoURLRef baseURL);
/// A URL of scheme "file". A relative path stays relative, with the working directory as its base. A directory's path
/// ends in "/", any other's does not. Nothing for an empty path, one with a NUL, or a style other than POSIX.
ZoURLRef ZoURLCreateWithFileSystemPath(ZoAllocatorRef allocator, ZoStringRef path, ZoURLPathStyle style,
                                       Boolean isDirectory);
/// The same from the bytes that the file system knows, in whatever encoding they are.
ZoURLRef ZoURLCreateFromFileSystemRepresentation(ZoAllocatorRef allocator, const uint8_t* bytes, ZoIndex length,
                                                 Boolean isDirectory);

/// The path with `component` behind it, escaped where it must be; query and fragment stay. Nothing for a URL that
/// cannot be decomposed.
ZoURLRef ZoURLCreateCopyAppendingPathComponent(ZoAllocatorRef allocator, ZoURLRef url, ZoStringRef component,
                                               Boolean isDirectory);
/// The last component with "." and `extension` behind it, before its "/" if it has one; query and fragment stay.
/// Nothing without a last component, or for an extension that is empty or has a "/" in it.
ZoURLRef ZoURLCreateCopyAppendingPathExtension(ZoAllocatorRef allocator, ZoURLRef url, ZoStringRef extension);
/// The directory that the last component is in, without query and fragment. The root is its own directory; a relative
/// path goes on to "./", "../" and up.
ZoURLRef ZoURLCreateCopyDeletingLastPathComponent(ZoAllocatorRef allocator, ZoURLRef url);

/// Escapes what may not stand as it is in a path or query (all but letters, digits and -._~!$&'()*+,;=:@/?), less
/// `charactersToLeaveUnescaped`, and also `legalURLCharactersToBeEscaped`. Both may be absent. Nothing if a character
/// is not in `encoding`.
ZoStringRef ZoURLCreateStringByAddingPercentEscapes(ZoAllocatorRef allocator, ZoStringRef originalString,
                                                    ZoStringRef charactersToLeaveUnescaped,
                                                    ZoStringRef legalURLCharactersToBeEscaped,
                                                    ZoStringEncoding encoding);
/// Puts characters in the place of their escapes, but for those of `charactersToLeaveEscaped`. An empty set replaces
/// all; an absent one replaces none and copies. Nothing for a broken escape or bytes that are not text in `encoding`.
ZoStringRef ZoURLCreateStringByReplacingPercentEscapesUsingEncoding(ZoAllocatorRef allocator,
                                                                    ZoStringRef originalString,
                                                                    ZoStringRef charactersToLeaveEscaped,
                                                                    ZoStringEncoding encoding);

/// Resolved against its base (RFC 3986 5.2); the URL itself, retained, if it has none.
ZoURLRef ZoURLCopyAbsoluteURL(ZoURLRef url);
/// The text that the URL was made of: for a relative URL the relative part alone. Borrowed.
ZoStringRef ZoURLGetString(ZoURLRef url);
/// Borrowed; nothing without one.
ZoURLRef ZoURLGetBaseURL(ZoURLRef url);
/// The scheme, the base's if it has none of its own, or nothing.
ZoStringRef ZoURLCopyScheme(ZoURLRef url);
/// The path of the URL's own text, escapes and all. Nothing for a URL that cannot be decomposed.
ZoStringRef ZoURLCopyPath(ZoURLRef url);
/// What follows the last "." of the last component, escapes replaced. Nothing without one, and for names that begin or
/// end with their only ".".
ZoStringRef ZoURLCopyPathExtension(ZoURLRef url);
/// The path for the file system, relative if the URL is. Nothing for a scheme other than "file", a host other than
/// "localhost", and bytes that are not UTF-8.
ZoStringRef ZoURLCopyFileSystemPath(ZoURLRef url, ZoURLPathStyle style);
/// The same as bytes with a NUL behind them, from the root if `resolveAgainstBase`. False if they do not fit,
/// or without a URL.
Boolean ZoURLGetFileSystemRepresentation(ZoURLRef url, Boolean resolveAgainstBase, uint8_t* buffer,
                                         ZoIndex maxBufferLength);
/// The path, or where it is empty the base's, ends in "/", "/." or "/..".
Boolean ZoURLHasDirectoryPath(ZoURLRef url);
/// False for a URL with a scheme and a path that does not begin with "/" ("mailto:a@b"), and for what is relative
/// to one: it has no components.
Boolean ZoURLCanBeDecomposed(ZoURLRef url);

ZO_EXTERN_C_END
