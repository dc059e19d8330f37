<?xml version="1.0" encoding="UTF-8"?>
<xsl:stylesheet version="3.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
  <xsl:template match="product[@status = 'active']">
    <xsl:variable name="total" select="sum(price * qty)"/>
    <xsl:if test="$total gt 10">
      <line sku="{@id}" total="{format-number($total, '0.00')}"/>
    </xsl:if>
    <xsl:for-each select="tokenize(name, '\s+') ! upper-case(.)">
      <word><xsl:value-of select="."/></word>
    </xsl:for-each>
  </xsl:template>
</xsl:stylesheet>
