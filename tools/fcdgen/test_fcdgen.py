#!/usr/bin/env python3
"""Tests of the field-container generator on small descriptions."""

import os
import re
import sys
import tempfile
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import fcdgen  # noqa: E402


def write(root, rel, text):
    path = os.path.join(root, rel)
    os.makedirs(os.path.dirname(path), exist_ok=True)
    with open(path, "w") as fh:
        fh.write(text)


KERNEL = {
    "OpenSG/FieldContainer/OSGAttachment.fcd":
        '<FieldContainer name="Attachment" parent="FieldContainer" structure="abstract">'
        '<Field name="parents" type="FieldContainerPtr" cardinality="multi" copy="false"/>'
        '<Field name="internal" type="bool" defaultValue="false"/></FieldContainer>',
}


class GeneratorTest(unittest.TestCase):
    def setUp(self):
        self.tmp = tempfile.TemporaryDirectory()
        self.root = self.tmp.name
        for rel, text in KERNEL.items():
            write(self.root, rel, text)

    def tearDown(self):
        self.tmp.cleanup()

    def generate(self):
        return dict(fcdgen.Generator(self.root).outputs())

    def test_small_type_ids_masks_and_type_object(self):
        write(self.root, "OpenSGExt/OSGPair.fcd",
              '<FieldContainer name="Pair" parent="Attachment">'
              '<Field name="key" type="std::string" cardinality="multi"/>'
              '<Field name="count" type="UInt32" defaultValue="7"/></FieldContainer>')
        out = self.generate()
        base_h = out[os.path.join("OpenSGExt", "OSGPairBase.h")]
        base_cpp = out[os.path.join("OpenSGExt", "OSGPairBase.cpp")]
        fields_h = out[os.path.join("OpenSGExt", "OSGPairFields.h")]
        # First own id follows the parent's two fields; the next id is one past the last.
        self.assertIn("KeyFieldId = Inherited::NextFieldId,", base_h)
        self.assertIn("CountFieldId = KeyFieldId + 1,", base_h)
        self.assertIn("NextFieldId = CountFieldId + 1", base_h)
        self.assertIn("static_assert(NextFieldId <= 128", base_h)
        self.assertIn("TypeTraits<BitVector>::One << UInt32(KeyFieldId)", base_h)
        self.assertIn("MTInfluenceMask", base_h)
        # Accessors of both cardinalities; no MF setter.
        for accessor in ("editMFKey", "getMFKey", "MFString &getKey (void)", "editKey(UInt32 index)",
                         "editSFCount", "setCount(const UInt32 &value)"):
            self.assertIn(accessor, base_h)
        self.assertNotIn("setKey", base_h)
        # Type object: name, parent, no group, prototype, empty init, descriptions, byte size.
        self.assertRegex(base_cpp, r'_type\(\s*"Pair",\s*"Attachment",\s*NULL,\s*'
                                   r'&PairBase::createPrototype,\s*&FieldContainerType::noInitMethod,'
                                   r'\s*_desc,\s*sizeof\(_desc\),\s*false\);')
        self.assertIn('"key"', base_cpp)
        self.assertIn("_sfCount(UInt32(7))", base_cpp)
        # Binary form and sync go parent first, then own fields in id order.
        binary = base_cpp[base_cpp.index("::copyToBin"):]
        self.assertLess(binary.index("Inherited::copyToBin"), binary.index("_mfKey.copyToBin"))
        self.assertLess(binary.index("_mfKey.copyToBin"), binary.index("_sfCount.copyToBin"))
        self.assertIn("_sfCount.syncWith(pOther->_sfCount)", base_cpp)
        # Pointer data type named after the type with its parent's pointer as parent.
        self.assertIn('DataType type("PairPtr", "AttachmentPtr")', fields_h)
        self.assertIn("typedef FCPtr<AttachmentPtr, Pair> PairPtr;", fields_h)
        # A round-trip test that fills inherited and own fields.
        test = out[os.path.join("tests", "generated", "library", "TestPairGenerated.cpp")]
        self.assertIn("pool.fill(*fc->editMFParents()", test)
        self.assertIn("pool.fill(*fc->editSFCount()", test)

    def test_abstract_type_has_no_creation_and_no_test(self):
        out = self.generate()
        base_h = out[os.path.join("OpenSG", "FieldContainer", "OSGAttachmentBase.h")]
        self.assertNotIn("createEmpty", base_h)
        self.assertNotIn(os.path.join("tests", "generated", "TestAttachmentGenerated.cpp"), out)

    def test_init_method_and_group(self):
        write(self.root, "OpenSGExt/OSGCam.fcd",
              '<FieldContainer name="Cam" parent="Attachment" initMethod="true" group="cams"/>')
        cpp = self.generate()[os.path.join("OpenSGExt", "OSGCamBase.cpp")]
        self.assertIn("&Cam::initMethod", cpp)
        self.assertRegex(cpp, r'"Cam",\s*"Attachment",\s*"cams",')
        self.assertRegex(cpp, r'NULL,\s*0,\s*false\);')

    def test_output_is_deterministic(self):
        write(self.root, "OpenSGExt/OSGPair.fcd",
              '<FieldContainer name="Pair" parent="Attachment">'
              '<Field name="key" type="std::string" cardinality="multi"/></FieldContainer>')
        self.assertEqual(self.generate(), self.generate())

    def test_rejects_bad_descriptions(self):
        cases = {
            "unknown value type": '<FieldContainer name="A" parent="Attachment">'
                                  '<Field name="x" type="Widget"/></FieldContainer>',
            "unknown parent": '<FieldContainer name="A" parent="Nothing"/>',
            "repeated field": '<FieldContainer name="A" parent="Attachment">'
                              '<Field name="x" type="UInt32"/><Field name="x" type="UInt32"/>'
                              '</FieldContainer>',
            "bad cardinality": '<FieldContainer name="A" parent="Attachment">'
                               '<Field name="x" type="UInt32" cardinality="many"/></FieldContainer>',
        }
        for what, text in cases.items():
            with self.subTest(what):
                write(self.root, "OpenSGExt/OSGA.fcd", text)
                with self.assertRaises(fcdgen.FcdError):
                    self.generate()

    def test_field_ids_beyond_127_are_refused(self):
        fields = "".join('<Field name="f%d" type="UInt32"/>' % i for i in range(126))
        write(self.root, "OpenSGExt/OSGBig.fcd",
              '<FieldContainer name="Big" parent="Attachment">%s</FieldContainer>' % fields)
        with self.assertRaises(fcdgen.FcdError):
            self.generate()
        # 125 own fields end at id 127, the last one a 128-bit mask can address.
        fields = "".join('<Field name="f%d" type="UInt32"/>' % i for i in range(125))
        write(self.root, "OpenSGExt/OSGBig.fcd",
              '<FieldContainer name="Big" parent="Attachment">%s</FieldContainer>' % fields)
        self.assertIn(os.path.join("OpenSGExt", "OSGBigBase.h"), self.generate())


if __name__ == "__main__":
    unittest.main()
